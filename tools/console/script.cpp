#include "console/script.h"

#include <algorithm>
#include <array>
#include <deque>
#include <unistd.h>

#include "console/commands.h"
#include "tools/common/descriptors.h"
#include "tools/common/lines.h"

namespace console {

namespace {
constexpr std::size_t LONGEST_COMMAND_LINE = 65536;

void run_lines(console_session& session, std::deque<std::string>& lines)
{
    for (; !lines.empty() && goes_on(session); lines.pop_front()) {
        if (lines.front().size() <= LONGEST_COMMAND_LINE)
            run_line(session, lines.front(), true);
        else
            complain(session,
                     "A line is longer than " + std::to_string(LONGEST_COMMAND_LINE) + " bytes.",
                     verdict::wrong_use);
    }
}

// A signal is how it ends, and then nothing follows.
void watch_until_signal(console_session& session)
{
    while (goes_on(session))
        wait_session(session, {});
    session.signal = 0;
    session.quit = true;
}
} // namespace

void run_script(console_session& session, std::chrono::milliseconds wait_ready)
{
    session.watch = [&] {
        watch_until_signal(session);
    };
    if (wait_until_ready(session, wait_ready, true)) wait_for_routes(session);
    std::string partial;
    std::deque<std::string> lines;
    bool more = true;
    while (more && goes_on(session)) {
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

void run_single(console_session& session, const std::vector<std::string>& words,
                std::chrono::milliseconds wait_ready)
{
    session.watch = [&] {
        watch_until_signal(session);
    };
    std::vector<common::word> command;
    command.reserve(words.size());
    for (const std::string& each : words)
        command.push_back({.text = each});
    if (const auto refused = refuse_in_vain(command, session.kept.has_value()))
        return print_answer(session, *refused);
    const bool asks_for_help = common::same_name(words[0], "help") || words[0] == "?";
    const bool ready =
        asks_for_help || wait_until_ready(session, wait_ready, concerns_all_routers(command));
    if (!ready && goes_on(session)) session.worst = std::max(session.worst, verdict::not_ready);
    if (ready) wait_for_routes(session);
    if (ready && goes_on(session)) run_words(session, command, true);
}

} // namespace console
