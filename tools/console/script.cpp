#include "console/script.h"

#include <array>
#include <deque>
#include <unistd.h>

#include "common/clock.h"
#include "tools/common/descriptors.h"
#include "tools/common/lines.h"

namespace console {

namespace {
// Longer than the backend needs to learn a router that answers slowly.
constexpr us_time_t START_LIMIT_US = 10'000'000;

constexpr std::size_t LONGEST_COMMAND_LINE = 65536;

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

void run_lines(console_session& session, std::deque<std::string>& lines)
{
    for (; !lines.empty() && !session.quit; lines.pop_front()) {
        if (lines.front().size() <= LONGEST_COMMAND_LINE) {
            run_line(session, lines.front());
            continue;
        }
        session.print("A line is longer than " + std::to_string(LONGEST_COMMAND_LINE) +
                      " bytes.\n");
        session.refused = true;
    }
}
} // namespace

void run_script(console_session& session)
{
    wait_for_reports(session);
    std::string partial;
    std::deque<std::string> lines;
    bool more = true;
    while (more && !session.quit && !session.link.ended) {
        std::array<pollfd, 1> watched = {{{STDIN_FILENO, POLLIN, 0}}};
        wait_session(session, watched, NO_TIME_LIMIT);
        if (watched[0].revents == 0) continue;
        std::string bytes;
        more = common::read_some(STDIN_FILENO, bytes) != common::read_outcome::ended;
        if (!more && !partial.empty()) bytes = "\n";
        common::cut_lines(bytes, partial, lines, LONGEST_COMMAND_LINE);
        run_lines(session, lines);
    }
    if (!session.quit) wait_for_routes(session);
}

} // namespace console
