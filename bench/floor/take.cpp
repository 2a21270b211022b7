// A relay: each record of the parent becomes one frame to the router. A pass reads the router three
// times and four bytes of the parent, as the backend's does.
#include <fcntl.h>
#include <string>

#include "calls.h"
#include "support/frames.h"

using namespace bench;

namespace {
// The frame leaves when both sides have been served once more.
void relay(char byte, const std::string& take)
{
    if (!ends_record(byte)) return;
    read_router();
    read_parent();
    read_parent();
    send_to_router(take);
}
} // namespace

int main(int, char** arguments)
{
    fcntl(0, F_SETFL, O_NONBLOCK);
    connect_to_router(arguments[1]);
    const std::string take = frame(body("TI", {"2", "3"}));
    for (;;) {
        read_router();
        read_router();
        read_router();
        relay(read_parent(), take);
        relay(read_parent(), take);
        wait_for_work(250'000);
        relay(read_parent(), take);
        relay(read_parent(), take);
    }
}
