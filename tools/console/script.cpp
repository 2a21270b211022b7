#include "console/script.h"

#include <array>
#include <cerrno>
#include <unistd.h>

#include "common/clock.h"

using namespace std::chrono_literals;

namespace console {

namespace {
// Longer than the backend takes to learn a router that answers slowly.
constexpr us_time_t START_LIMIT_US = 10'000'000;

constexpr auto NO_TIME_LIMIT = 24h;

void wait_for_reports(console_session& session)
{
    const us_time_t deadline = now_us() + START_LIMIT_US;
    const router_view& view = session.state.view;
    while (!fully_reported(view) && !session.link.ended) {
        const us_time_t now = now_us();
        if (now >= deadline) {
            session.print("The router has not reported everything: it is " + link_text(view) +
                          ".\n");
            return;
        }
        wait_session(session, {}, std::chrono::milliseconds((deadline - now) / 1000 + 1));
    }
}

// Returns false at the end of input.
bool read_input(std::string& input)
{
    char bytes[4096];
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    if (count > 0) input.append(bytes, static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && (errno == EINTR || errno == EAGAIN));
}

void run_complete_lines(console_session& session, std::string& input)
{
    std::size_t end = 0;
    while (!session.quit && (end = input.find('\n')) != std::string::npos) {
        const std::string line = input.substr(0, end);
        input.erase(0, end + 1);
        run_line(session, line);
    }
}
} // namespace

void run_script(console_session& session)
{
    wait_for_reports(session);
    std::string input;
    bool more = true;
    while (more && !session.quit && !session.link.ended) {
        std::array<pollfd, 1> watched = {{{STDIN_FILENO, POLLIN, 0}}};
        wait_session(session, watched, NO_TIME_LIMIT);
        if (watched[0].revents == 0) continue;
        more = read_input(input);
        if (!more && !input.empty()) input += '\n';
        run_complete_lines(session, input);
    }
    if (!session.quit) wait_for_routes(session);
}

} // namespace console
