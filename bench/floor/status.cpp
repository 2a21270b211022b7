// Idle passes and, when it is due, one status cycle: the change flags, their clearing, the changed
// destinations. The lines that the backend logs are written as well.
#include <chrono>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "calls.h"
#include "support/frames.h"

using namespace bench;

using std::chrono::steady_clock;

namespace {
// Sends the request and waits for its answer.
void ask(std::string_view request)
{
    read_router();
    send_to_router(request);
    write_log("<DBG>Send to router: N0BK\tFA6\n");
    for (;;) {
        read_parent();
        read_parent();
        bool answered = false;
        for (int reads = 0; reads < 2; ++reads) {
            if (read_router().empty()) continue;
            write_log("<DBG>Router: MSG N0KB\tF\t06D\n");
            answered = true;
        }
        if (answered) break;
        usleep(10'000);
    }
    write_log(
        "<DBG>Router message(raw): 'N0KB\tF\t06D' [OK] request=KB protocol=N seq=0 param=F,0");
}

void run_cycle(const std::vector<std::string>& requests)
{
    write_log("<DBG>Sending periodic status request as TCP keepalive and to keep up with "
              "unreported changes if they should occur\n");
    for (const std::string& request : requests)
        ask(request);
}
} // namespace

int main(int, char** arguments)
{
    fcntl(0, F_SETFL, O_NONBLOCK);
    connect_to_router(arguments[1]);
    const std::vector<std::string> requests = {frame(body("BK", {"F"})),
                                               frame(body("BK", {"f", "0"})), frame(body("QD"))};
    auto due = steady_clock::now();
    for (;;) {
        read_router();
        read_router();
        if (steady_clock::now() >= due) {
            run_cycle(requests);
            due = steady_clock::now() + std::chrono::microseconds(352'000);
        }
        read_router();
        read_parent();
        read_parent();
        wait_for_work(250'000);
        read_parent();
        read_parent();
    }
}
