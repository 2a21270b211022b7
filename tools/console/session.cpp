#include "console/session.h"

#include <algorithm>
#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>
#include <vector>

#include "console/batch_text.h"
#include "console/commands.h"
#include "console/events.h"
#include "console/safe_text.h"
#include "console/times.h"
#include "server/desk/notices.h"
#include "server/desk/words.h"

namespace console {

namespace {
constexpr std::chrono::hours NO_TIME_LIMIT{24};
constexpr std::chrono::seconds FAREWELL_TIME{2}; // more than a backend is given to end
constexpr std::chrono::seconds QUIET_TIME{1};    // then a router has told the routes that it tells

void note_verdict(console_session& session, verdict seen)
{
    session.worst = std::max(session.worst, seen);
}

// One line; what is no UTF-8 is replaced, and all beyond ASCII is written as escapes.
std::string json_line(nlohmann::json object, const char* type)
{
    object["type"] = type;
    return object.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) + "\n";
}

const char* code_of(verdict verdict)
{
    switch (verdict) {
    case verdict::done:
        return "done";
    case verdict::wrong_use:
        return "wrongUse";
    case verdict::refused:
        return "refused";
    case verdict::not_ready:
        return "notReady";
    }
    return "";
}

void print_event(console_session& session, const std::string& text, const nlohmann::json& json)
{
    session.print(session.json ? json_line(json, "event") : safe_text(text));
}

// Only the end of wishes still counts while the session closes.
bool is_wanted(const console_session& session, const notice& notice)
{
    if (session.closing) return notice.json.value("event", "") == "outcome";
    return notice.always || session.follow;
}

void print_wanted(console_session& session, const std::vector<notice>& notices)
{
    std::string text;
    for (const notice& each : notices)
        if (is_wanted(session, each))
            text += session.json ? json_line(each.json, "event") : safe_text(each.text);
    if (!text.empty()) session.print(text);
}

void print_notices(console_session& session)
{
    std::vector<notice> notices;
    const bool changed = take_events(session.console, now(), notices);
    if (changed && session.kept) note_change(*session.kept, now().steady);
    print_wanted(session, notices);
}

// Another try comes when it is due again.
void keep_house(console_session& session)
{
    std::string error;
    if (session.kept &&
        !write_if_due(*session.kept, session.console.desk.house, now().steady, error))
        print_event(session, error + " It is tried again.\n",
                    {{"event", "notKept"}, {"error", error}});
}

// A take is in the file before it goes out: no later start takes it for somebody else's.
void keep_takes(console_session& session)
{
    const std::vector<desk::order>& orders = session.console.desk.orders;
    const bool takes = std::any_of(orders.begin(), orders.end(), [](const desk::order& order) {
        return order.what == desk::order::kind::send;
    });
    if (!takes || !session.kept) return;
    session.kept->due = now().steady;
    keep_house(session);
}

std::optional<desk::monotonic> next_due(const console_session& session, const desk::moment& time)
{
    auto due = routers::next_due(session.console.running, session.console.desk, time);
    if (session.kept && session.kept->due && (!due || *session.kept->due < *due))
        due = session.kept->due;
    return due;
}
} // namespace

desk::moment now()
{
    using namespace std::chrono;
    return {duration_cast<desk::monotonic>(steady_clock::now().time_since_epoch()),
            duration_cast<desk::wall>(system_clock::now().time_since_epoch())};
}

void catch_signals(console_session& session, std::initializer_list<int> signals)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int each : signals)
        sigaddset(&set, each);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    session.signals = common::owned_descriptor(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

void take_signal(console_session& session)
{
    if (session.signal != 0) return;
    signalfd_siginfo info{};
    const ssize_t length = read(session.signals.number, &info, sizeof info);
    if (length == static_cast<ssize_t>(sizeof info))
        session.signal = static_cast<int>(info.ssi_signo);
}

bool goes_on(const console_session& session)
{
    return !session.quit && session.signal == 0;
}

void serve_session(console_session& session)
{
    keep_takes(session);
    routers::serve_routers(session.console.running, session.console.desk, now());
    print_notices(session);
}

void tell_missed(console_session& session)
{
    console_state& console = session.console;
    const desk::moment time = now();
    print_wanted(session, missed_notices(console, time));
    for (const auto& [id, broken] :
         desk::notices_of(console.desk.house, console.person.person, time.utc))
        desk::dismiss_notice(console.desk, time, console.person, id);
}

void wait_session(console_session& session, std::span<pollfd> watched,
                  std::optional<std::chrono::milliseconds> time_out)
{
    keep_house(session); // what is said while the disk is waited for is heard before time is judged
    std::vector<pollfd> descriptors(watched.begin(), watched.end());
    descriptors.push_back({session.signals.number, POLLIN, 0});
    routers::add_poll_descriptors(session.console.running, descriptors);
    const desk::moment begun = now();
    std::chrono::milliseconds pause = time_out.value_or(NO_TIME_LIMIT);
    if (const auto due = next_due(session, begun))
        pause = std::clamp(std::chrono::ceil<std::chrono::milliseconds>(*due - begun.steady),
                           std::chrono::milliseconds(0), pause);
    poll(descriptors.data(), descriptors.size(), static_cast<int>(pause.count()));
    std::copy_n(descriptors.begin(), watched.size(), watched.begin());
    take_signal(session);
    routers::serve_routers(session.console.running, session.console.desk, now(), descriptors);
    print_notices(session);
}

namespace {
void wait_for_batch(console_session& session, const desk::ulid& batch)
{
    while (!has_ended(session.console.desk.house, batch) && goes_on(session))
        wait_session(session, {});
    const auto found = session.console.desk.house.batches.find(batch);
    if (found != session.console.desk.house.batches.end())
        note_verdict(session, verdict_of(found->second));
}
} // namespace

void print_answer(console_session& session, const answer& answer)
{
    note_verdict(session, answer.verdict);
    if (session.json) {
        nlohmann::json json = answer.json;
        json["verdict"] = code_of(answer.verdict);
        session.print(json_line(json, "answer"));
    } else if (!answer.text.empty()) {
        session.show(safe_text(answer.text));
    }
}

void complain(console_session& session, const std::string& sentence, verdict why)
{
    print_answer(session, refusal(sentence, why));
}

void run_words(console_session& session, const std::vector<common::word>& words, bool wait)
{
    const answer answer = run_command(session.console, now(), words);
    print_answer(session, answer);
    session.quit = session.quit || answer.quit;
    serve_session(session);
    if (wait && !answer.batch.is_none()) wait_for_batch(session, answer.batch);
    if (!answer.follow || !goes_on(session)) return;
    session.follow = true;
    session.watch();
    session.follow = false;
}

void run_line(console_session& session, std::string_view line, bool wait)
{
    const std::size_t begin = line.find_first_not_of(" \t");
    if (begin != std::string_view::npos && line[begin] == '#') return; // a comment
    const common::split_line split = common::split_words(line);
    if (split.open_quote) return complain(session, "A quote is not closed.", verdict::wrong_use);
    for (const std::vector<common::word>& words : split.commands) {
        if (!goes_on(session)) return;
        run_words(session, words, wait);
    }
}

namespace {
// Nothing more is to be learnt soon.
bool is_settled(const desk::live_router& live)
{
    return live.link != desk::link_state::connecting && live.link != desk::link_state::reading;
}

bool all_settled(const desk::desk_state& desk)
{
    return std::all_of(desk.live.begin(), desk.live.end(),
                       [](const auto& each) { return is_settled(each.second); });
}

std::string seconds_text(std::chrono::milliseconds time)
{
    std::string text = std::to_string(static_cast<double>(time.count()) / 1000);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
    return text + " s";
}

// Which address and port did not answer, and why.
void tell_not_ready(console_session& session, std::chrono::milliseconds limit)
{
    const desk::router_settings& settings =
        desk::find_router(session.console.desk, session.console.router)->settings;
    const desk::live_router& live = *desk::find_live(session.console.desk, settings.id);
    const std::string place = settings.address + ":" + std::to_string(settings.port);
    std::string text = settings.name + " cannot be reached: " + live.link_reason + ".\n";
    if (live.link == desk::link_state::connecting)
        text =
            settings.name + " (" + place + ") did not answer within " + seconds_text(limit) + ".\n";
    else if (live.link != desk::link_state::off)
        text = settings.name + " (" + place + ") is not ready after " + seconds_text(limit) + ": " +
               live.link_reason + ".\n";
    print_event(session, text,
                {{"event", "notReady"},
                 {"at", json_time(now().utc)},
                 {"router", settings.id},
                 {"address", settings.address},
                 {"port", settings.port},
                 {"link", desk::text_of(live.link)},
                 {"reason", live.link_reason}});
}
} // namespace

bool wait_until_ready(console_session& session, std::chrono::milliseconds limit, bool all)
{
    const auto end = now().steady + limit;
    serve_session(session);
    const desk::live_router& live = *desk::find_live(session.console.desk, session.console.router);
    const auto is_ready = [&] {
        return live.link == desk::link_state::ready;
    };
    while (!(is_ready() && (!all || all_settled(session.console.desk))) &&
           live.link != desk::link_state::off && goes_on(session)) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now().steady);
        if (left.count() <= 0) break;
        wait_session(session, {}, left);
    }
    if (!is_ready() && goes_on(session)) tell_not_ready(session, limit);
    return is_ready();
}

namespace {
int routes_known(const desk::live_router& live)
{
    int known = 0;
    for (int i = 0; i < live.outputs; ++i)
        if (desk::is_fresh(live, i)) ++known;
    return known;
}
} // namespace

void wait_for_routes(console_session& session)
{
    const desk::live_router& live = *desk::find_live(session.console.desk, session.console.router);
    int known = -1;
    desk::monotonic grown{};
    while (live.link == desk::link_state::ready && known < live.outputs && goes_on(session)) {
        const desk::monotonic time = now().steady;
        if (routes_known(live) > known) {
            known = routes_known(live);
            grown = time;
        }
        if (time - grown >= QUIET_TIME) return;
        wait_session(session, {}, std::chrono::milliseconds(100));
    }
}

namespace {
std::vector<desk::ulid> open_batches(const desk::house& house)
{
    std::vector<desk::ulid> open;
    for (const auto& [id, batch] : house.batches)
        if (!has_ended(house, id)) open.push_back(id);
    return open;
}

void tell_unknown(console_session& session)
{
    for (const desk::ulid& id : open_batches(session.console.desk.house)) {
        note_verdict(session, verdict::refused);
        print_event(session, unknown_text(session.console, id), outcome_json(session.console, id));
    }
}
} // namespace

void close_session(console_session& session)
{
    auto end = now().steady + FAREWELL_TIME;
    constexpr std::chrono::milliseconds TURN{100};
    while (!open_batches(session.console.desk.house).empty() && session.signal == 0 &&
           now().steady < end)
        wait_session(session, {}, TURN);
    session.closing = true;
    end = now().steady + FAREWELL_TIME;
    routers::stop_routers(session.console.running, now());
    while (routers::any_running(session.console.running) && now().steady < end)
        wait_session(session, {}, TURN);
    tell_unknown(session);
    std::string error;
    if (session.kept && session.kept->due &&
        !write_house(*session.kept, session.console.desk.house, error))
        complain(session, error, verdict::refused);
}

} // namespace console
