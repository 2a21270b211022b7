#include "console/session.h"

#include <algorithm>
#include <vector>

#include "console/batch_text.h"
#include "console/commands.h"
#include "console/events.h"
#include "tools/common/words.h"

namespace console {

namespace {
constexpr std::chrono::hours NO_TIME_LIMIT{24};
constexpr std::chrono::seconds FAREWELL_TIME{2}; // more than a backend is given to end

void note_verdict(console_session& session, verdict seen)
{
    session.worst = std::max(session.worst, seen);
}

void print_notices(console_session& session)
{
    std::vector<notice> notices;
    take_events(session.console, now(), notices);
    for (const notice& each : notices)
        if (each.always || session.follow)
            session.print(session.json ? each.json.dump() + "\n" : each.text);
}
} // namespace

desk::moment now()
{
    using namespace std::chrono;
    return {duration_cast<desk::monotonic>(steady_clock::now().time_since_epoch()),
            duration_cast<desk::wall>(system_clock::now().time_since_epoch())};
}

void serve_session(console_session& session)
{
    routers::serve_routers(session.console.running, session.console.desk, now());
    print_notices(session);
}

void wait_session(console_session& session, std::span<pollfd> watched,
                  std::optional<std::chrono::milliseconds> time_out)
{
    std::vector<pollfd> descriptors(watched.begin(), watched.end());
    routers::add_poll_descriptors(session.console.running, descriptors);
    const desk::moment begun = now();
    std::chrono::milliseconds pause = time_out.value_or(NO_TIME_LIMIT);
    if (const auto due = routers::next_due(session.console.running, session.console.desk, begun))
        pause = std::clamp(std::chrono::ceil<std::chrono::milliseconds>(*due - begun.steady),
                           std::chrono::milliseconds(0), pause);
    poll(descriptors.data(), descriptors.size(), static_cast<int>(pause.count()));
    std::copy_n(descriptors.begin(), watched.size(), watched.begin());
    routers::serve_routers(session.console.running, session.console.desk, now(), descriptors);
    print_notices(session);
}

namespace {
void wait_for_batch(console_session& session, const desk::ulid& batch)
{
    while (!has_ended(session.console.desk.house, batch))
        wait_session(session, {});
    const auto found = session.console.desk.house.batches.find(batch);
    if (found != session.console.desk.house.batches.end())
        note_verdict(session, verdict_of(found->second));
}

void run_words(console_session& session, const std::vector<common::word>& words, bool wait)
{
    const answer answer = run_command(session.console, now(), words);
    note_verdict(session, answer.verdict);
    if (session.json)
        session.print(answer.json.dump() + "\n");
    else if (!answer.text.empty())
        session.print(answer.text);
    session.quit = answer.quit;
    session.follow = session.follow || answer.follow;
    serve_session(session);
    if (wait && !answer.batch.is_none()) wait_for_batch(session, answer.batch);
}
} // namespace

void run_line(console_session& session, std::string_view line, bool wait)
{
    const common::split_line split = common::split_words(line);
    if (split.open_quote) {
        session.print("A quote is not closed.\n");
        return note_verdict(session, verdict::wrong_use);
    }
    for (const std::vector<common::word>& words : split.commands) {
        if (session.quit) return;
        run_words(session, words, wait);
    }
}

bool wait_until_ready(console_session& session, const std::string& router,
                      std::chrono::milliseconds limit)
{
    const auto end = now().steady + limit;
    serve_session(session);
    while (desk::find_live(session.console.desk, router)->link != desk::link_state::ready) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now().steady);
        if (left.count() <= 0) return false;
        wait_session(session, {}, left);
    }
    return true;
}

void close_session(console_session& session)
{
    const auto end = now().steady + FAREWELL_TIME;
    routers::stop_routers(session.console.running, now());
    while (routers::any_running(session.console.running) && now().steady < end)
        wait_session(session, {}, std::chrono::milliseconds(100));
}

} // namespace console
