// Sends what discovery asks, reads the answers, looks at both sides once for each of them and says
// what it has learnt. The lines that the backend logs are written as well.
#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <sys/select.h>

#include "calls.h"
#include "support/frames.h"

namespace {
long unread_answers = 0; // received, not looked at yet

void serve_both()
{
    const std::string_view bytes = read_router();
    for (std::size_t begin = 0; begin < bytes.size();) {
        const std::size_t end = std::min(bytes.find('\x04', begin), bytes.size() - 1) + 1;
        if (bytes[end - 1] == '\x04') {
            write_log(bytes.substr(begin, end - begin));
            ++unread_answers;
        }
        begin = end;
    }
    read_parent();
    read_parent();
}

void request(std::string_view framed)
{
    serve_both();
    send_to_router(framed);
    write_log(framed);
}

void wait_for_either_side()
{
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(router_fd, &readable);
    FD_SET(0, &readable);
    timeval timeout = {0, 10'000};
    select(router_fd + 1, &readable, nullptr, nullptr, &timeout);
}

void collect(long answers)
{
    for (long collected = 0; collected < answers;) {
        serve_both();
        if (unread_answers == 0) {
            wait_for_either_side();
            continue;
        }
        --unread_answers;
        ++collected;
    }
}
} // namespace

// PORT and how many answers there are.
int main(int, char** arguments)
{
    const std::vector<std::string> commands = {
        frame(body("BK")),        frame(body("BK", {"N"})),       frame(body("BK", {"R"})),
        frame(body("BK", {"T"})), frame(body("BK", {"I", "15"})), frame(body("BK", {"E", "ON"}))};
    const std::vector<std::string> queries = {frame(body("QN", {"L"})), frame(body("QN", {"IS"})),
                                              frame(body("QN", {"ID"}))};
    const std::vector<std::string> last = {frame(body("BK", {"D"})), frame(body("BK", {"A"}))};
    fcntl(0, F_SETFL, O_NONBLOCK);
    connect_to_router(arguments[1]);
    for (int i = 0; i < 4; ++i)
        read_router();
    for (const std::string& command : commands)
        request(command);
    for (const std::string& query : queries) {
        write_log("<DBG>Asking for destinations...\n");
        request(query);
    }
    collect(std::atol(arguments[2]));
    for (const std::string& command : last)
        request(command);
    for (int i = 0; i < 9; ++i) // identity, ranges, counts
        write_log("<DBG>Changing number of outputs to 256\n");
    write_to_parent("*COMMAND=info\n*TYPE=message\ncompany=Grass Valley\nmodel=Bench router\n\n");
    for (;;) {
        wait_for_work(250'000);
        read_router();
        read_parent();
    }
}
