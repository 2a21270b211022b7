#include "console/script.h"

#include <algorithm>
#include <array>
#include <deque>
#include <unistd.h>

#include "tools/common/descriptors.h"
#include "tools/common/lines.h"

namespace console {

namespace {
constexpr std::size_t LONGEST_COMMAND_LINE = 65536;

void run_lines(console_session& session, std::deque<std::string>& lines)
{
    for (; !lines.empty() && !session.quit; lines.pop_front()) {
        if (lines.front().size() <= LONGEST_COMMAND_LINE) {
            run_line(session, lines.front(), true);
            continue;
        }
        session.print("A line is longer than " + std::to_string(LONGEST_COMMAND_LINE) +
                      " bytes.\n");
        session.worst = std::max(session.worst, verdict::wrong_use);
    }
}
} // namespace

void run_script(console_session& session)
{
    std::string partial;
    std::deque<std::string> lines;
    bool more = true;
    while (more && !session.quit) {
        std::array<pollfd, 1> watched = {{{STDIN_FILENO, POLLIN, 0}}};
        wait_session(session, watched);
        if (watched[0].revents == 0) continue;
        std::string bytes;
        more = common::read_some(STDIN_FILENO, bytes) != common::read_outcome::ended;
        if (!more && !partial.empty()) bytes = "\n";
        common::cut_lines(bytes, partial, lines, LONGEST_COMMAND_LINE);
        run_lines(session, lines);
    }
}

} // namespace console
