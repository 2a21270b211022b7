#include "bench/pieces/pieces.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "common/check.h"
#include "common/numbers.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "support/backend_state.h"
#include "support/frames.h"

namespace bench {

namespace {
constexpr unsigned NAMES_PER_ANSWER = 32;
} // namespace

silent_peers::silent_peers()
{
    reset_backend_state();
    for (int descriptor = 0; descriptor < 3; ++descriptor)
        saved_descriptors[descriptor] = fcntl(descriptor, F_DUPFD_CLOEXEC, 10);
    int parent[2];
    int router[2];
    const int null_device = open("/dev/null", O_WRONLY | O_CLOEXEC);
    CHECK(null_device >= 0 && pipe(parent) == 0);
    CHECK(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, router) == 0);
    dup2(parent[0], STDIN_FILENO);
    dup2(null_device, STDOUT_FILENO);
    dup2(null_device, STDERR_FILENO);
    close(parent[0]);
    close(null_device);
    CHECK(prepare_parent_channel() == 0);
    parent_end = parent[1];
    router_fd = router[0];
    router_end = router[1];
    last_router_activity = now_us();
}

silent_peers::~silent_peers()
{
    for (int descriptor = 0; descriptor < 3; ++descriptor) {
        dup2(saved_descriptors[descriptor], descriptor);
        close(saved_descriptors[descriptor]);
    }
    close(parent_end);
    close(router_fd);
    close(router_end);
}

std::string name_answer(const char* kind, unsigned first, unsigned count, bool last)
{
    std::vector<std::string> parameters = {kind, upper_hex(count)};
    for (unsigned i = first; i < first + count; ++i)
        parameters.insert(parameters.end(), {"CAM " + std::to_string(i), upper_hex(i), "0", "F"});
    return frame(body("NQ", parameters, last ? '0' : '1'));
}

std::vector<router_message> name_answers(const char* kind, unsigned count)
{
    std::string bytes;
    for (unsigned first = 0; first < count; first += NAMES_PER_ANSWER)
        bytes += name_answer(kind, first, NAMES_PER_ANSWER, first + NAMES_PER_ANSWER == count);
    return parsed(bytes);
}

std::string route_status(unsigned destination, unsigned source)
{
    return frame(body("IQ", {upper_hex(destination), "0", "N", "N", upper_hex(source)}));
}

std::vector<router_message> parsed(std::string_view bytes)
{
    parse_router_bytes(bytes);
    std::vector<router_message> messages(router_rx_queue.begin(), router_rx_queue.end());
    router_rx_queue.clear();
    return messages;
}

} // namespace bench
