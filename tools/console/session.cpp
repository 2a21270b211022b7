#include "console/session.h"

#include <algorithm>

#include "common/clock.h"

using namespace std::chrono_literals;

namespace console {

namespace {
constexpr std::size_t KEPT_DIAGNOSTICS = 5;

// For what a healthy backend does at once.
constexpr auto FAREWELL_TIME = 1s;
} // namespace

bool start_session(console_session& session, const std::string& backend,
                   const std::string& config_path)
{
    std::string error;
    if (start_backend(session.link, backend, {"--file", config_path}, error)) return true;
    session.print(error + '\n');
    return false;
}

namespace {
void print_notices(const console_session& session, const notices& to_show)
{
    std::string text;
    for (const std::string& line : to_show)
        text += line + '\n';
    if (!text.empty()) session.print(text);
}

void handle_diagnostics(console_session& session, const std::string& line)
{
    session.last_diagnostics.push_back(line);
    if (session.last_diagnostics.size() > KEPT_DIAGNOSTICS) session.last_diagnostics.pop_front();
    notices to_show;
    const bool about_link = apply_diagnostics(session.state.view, line, to_show);
    if (is_shown(session.state.log, line, about_link)) session.print(line + '\n');
    print_notices(session, to_show);
}
} // namespace

void serve_session(console_session& session)
{
    serve_backend(session.link);
    std::deque<std::string> lines;
    lines.swap(session.link.diagnostics);
    for (const std::string& line : lines)
        handle_diagnostics(session, line);
    std::deque<ParentRecord> records;
    records.swap(session.link.records);
    session.came_up = session.came_up || !records.empty();
    for (const ParentRecord& record : records)
        print_notices(session, apply_record(session.state.view, record));
    const notices expired = expire_requests(session.state.view, now_us());
    session.unconfirmed = session.unconfirmed || !expired.empty();
    print_notices(session, expired);
}

void wait_session(console_session& session, std::span<pollfd> watched,
                  std::chrono::milliseconds time_out)
{
    std::vector<pollfd> descriptors(watched.begin(), watched.end());
    add_poll_descriptors(session.link, descriptors);
    const us_time_t expiry = time_to_expiry(session.state.view, now_us());
    if (expiry != NO_EXPIRY)
        time_out = std::min(time_out, std::chrono::milliseconds(expiry / 1000 + 1));
    poll(descriptors.data(), descriptors.size(), static_cast<int>(time_out.count()));
    std::copy_n(descriptors.begin(), watched.size(), watched.begin());
    serve_session(session);
}

void wait_for_routes(console_session& session)
{
    while (any_pending(session.state.view) && !session.link.ended)
        wait_session(session, {}, NO_TIME_LIMIT);
}

namespace {
void run_words(console_session& session, const std::vector<common::word>& words)
{
    const command_result result = run_command(session.state, words, now_us());
    if (!result.text.empty()) session.print(result.text);
    for (const ParentRecord& record : result.records)
        send_record(session.link, record);
    session.refused = session.refused || result.refused;
    session.quit = result.quit;
    if (result.wait) wait_for_routes(session);
}
} // namespace

void run_line(console_session& session, std::string_view line)
{
    const common::split_line split = common::split_words(line);
    if (split.open_quote) {
        session.print("A quote is not closed.\n");
        session.refused = true;
        return;
    }
    for (const std::vector<common::word>& words : split.commands) {
        if (session.quit || session.link.ended) return;
        run_words(session, words);
    }
}

int close_session(console_session& session)
{
    if (!session.link.ended) {
        end_input(session.link);
        wait_until(session.link, FAREWELL_TIME, [&] { return session.link.ended; });
        close_backend(session.link);
        return EXIT_GOOD;
    }
    std::string text = "The backend " + describe_end(session.link) + ". Its last diagnostics:\n";
    for (const std::string& line : session.last_diagnostics)
        text += "  " + line + '\n';
    session.print(text);
    return session.came_up ? EXIT_BACKEND_ENDED : EXIT_NOT_STARTED;
}

} // namespace console
