#include "console/route_rows.h"

#include "console/batch_text.h"
#include "console/route_names.h"
#include "console/times.h"
#include "server/desk/stages.h"
#include "server/desk/words.h"

namespace console {

const desk::staged_row* find_staged(const console_state& console, const std::string& router,
                                    int destination)
{
    const auto stages = console.desk.stages.find(console.person.person);
    if (stages == console.desk.stages.end()) return nullptr;
    const auto stage = stages->second.find(router);
    if (stage == stages->second.end()) return nullptr;
    const auto row = stage->second.find(destination);
    return row == stage->second.end() ? nullptr : &row->second;
}

std::string open_take_text(const console_state& console, const std::string& router, int destination)
{
    const desk::live_router& live = *desk::find_live(console.desk, router);
    const desk::staged_row* const row = find_staged(console, router, destination);
    const auto open = live.open.find(destination);
    if (row == nullptr || desk::has_changed(live, destination, *row) || open == live.open.end())
        return "";
    const desk::open_wish& newest = open->second.back();
    return "a take of " + desk::source_text(console.desk, router, newest.source) + " by " +
           console.desk.house.batches.at(newest.id.batch).person + " is under way";
}

namespace {
// Of a fact that is not fresh: while the link that told it stood, it was true, unless the desk
// doubted it.
std::optional<desk::wall> last_known(const console_state& console, const std::string& router,
                                     const desk::fact& fact)
{
    if (fact.source == desk::UNKNOWN_SOURCE) return std::nullopt;
    const auto link = console.links.find(router);
    const bool lost = fact.connection != 0 && link != console.links.end() && !link->second.ready &&
                      link->second.connection == fact.connection;
    return lost ? link->second.lost : fact.confirmed.utc;
}

desk::wall end_of(const desk::wish& wish, const desk::batch& batch)
{
    return batch.made + std::chrono::floor<std::chrono::milliseconds>(
                            wish.ended_after.value_or(desk::monotonic{}));
}
} // namespace

route_row route_row_of(const console_state& console, const std::string& router, int destination)
{
    const desk::house_router& known = *desk::find_router(console.desk, router);
    const desk::live_router& live = *desk::find_live(console.desk, router);
    const auto index = static_cast<std::size_t>(destination);
    const desk::fact fact = index < live.facts.size() ? live.facts[index] : desk::fact{};
    route_row row;
    row.router = router;
    row.destination = position_at(console, router, desk::side::destinations, destination);
    row.source = fact.source;
    row.confirmed = fact.confirmed.utc;
    if (!desk::is_fresh(live, destination)) row.as_of = last_known(console, router, fact);
    if (const auto open = live.open.find(destination); open != live.open.end())
        row.wish = &open->second.back();
    row.staged = find_staged(console, router, destination);
    row.changed = row.staged != nullptr && desk::has_changed(live, destination, *row.staged);
    if (const auto lock = known.locks.find(destination); lock != known.locks.end())
        row.lock = &lock->second;
    if (const auto trouble = live.troubled.find(destination); trouble != live.troubled.end())
        row.trouble = desk::find_wish(console.desk.house, trouble->second.id);
    if (row.trouble != nullptr)
        row.troubled = end_of(
            *row.trouble, console.desk.house.batches.at(live.troubled.at(destination).id.batch));
    row.ready = live.link == desk::link_state::ready;
    return row;
}

namespace {
// What its last wish, which ended badly, was for.
bool shows_wished(const route_row& row)
{
    return !row.as_of && row.source == row.trouble->wished.source;
}
} // namespace

bool is_problem(const route_row& row)
{
    const bool doubtful = row.ready && (row.as_of || row.source == desk::UNKNOWN_SOURCE);
    const bool troubled = row.trouble != nullptr && !shows_wished(row);
    return doubtful || row.changed || troubled;
}

namespace {
void add_state(std::string& text, const std::string& state)
{
    text += (text.empty() ? "" : "; ") + state;
}

// What was shown instead then may be otherwise by now; the row tells what is.
std::string trouble_text(const route_row& row)
{
    if (row.trouble->end == desk::outcome::contradicted ||
        (shows_wished(row) && row.trouble->end != desk::outcome::not_sent))
        return "was not confirmed at " + time_of_day(row.troubled);
    return end_text(*row.trouble);
}
} // namespace

std::string state_text(const console_state& console, const route_row& row,
                       std::optional<desk::wall> told_above)
{
    const auto name = [&](int source) {
        return desk::source_text(console.desk, row.router, source);
    };
    std::string text;
    if (row.as_of && row.as_of != told_above) add_state(text, "as of " + time_of_day(*row.as_of));
    if (row.wish != nullptr)
        add_state(text,
                  "taking " + name(row.wish->source) + " (" + desk::text_of(row.wish->state) + ")");
    if (row.trouble != nullptr)
        add_state(text, name(row.trouble->wished.source) + " " + trouble_text(row));
    if (row.staged != nullptr)
        add_state(text, "staged " + name(row.staged->source) +
                            (row.changed ? " (showed " + name(row.staged->seen) + " then)" : ""));
    if (row.lock != nullptr) add_state(text, lock_state(*row.lock));
    return text;
}

std::string holder_text(const desk::lock& lock)
{
    return desk::text_of(lock.mode) + (" by " + lock.owner) +
           (lock.reason.empty() ? "" : " (" + lock.reason + ")");
}

std::string lock_state(const desk::lock& lock)
{
    return holder_text(lock) + until_text(lock);
}

std::string until_text(const desk::lock& lock)
{
    if (!lock.until) return "";
    const bool same_day = *lock.until - lock.since < std::chrono::hours(12);
    return " until " + (same_day ? time_of_day(*lock.until) : day_and_time(*lock.until));
}

nlohmann::json lock_json(const desk::lock& lock)
{
    nlohmann::json json = {{"mode", lock.mode == desk::lock_mode::lock ? "lock" : "protect"},
                           {"owner", lock.owner},
                           {"reason", lock.reason},
                           {"since", json_time(lock.since)},
                           {"until", nullptr}};
    if (lock.until) json["until"] = json_time(*lock.until);
    return json;
}

nlohmann::json shown_json(const console_state& console, const route_row& row)
{
    const auto source = [&](int index) {
        return source_json(console.desk, row.router, index);
    };
    nlohmann::json json = {
        {"destination", destination_json(console.desk, row.router, row.destination.index)},
        {"group", row.destination.group},
        {"source", source(row.source)},
        {"fresh", row.source != desk::UNKNOWN_SOURCE && !row.as_of},
        {"problem", is_problem(row)}};
    if (row.source != desk::UNKNOWN_SOURCE) json["confirmed"] = json_time(row.confirmed);
    if (row.as_of) json["asOf"] = json_time(*row.as_of);
    if (row.wish != nullptr)
        json["wish"] = {{"source", source(row.wish->source)},
                        {"state", desk::text_of(row.wish->state)}};
    if (row.trouble != nullptr)
        json["trouble"] = {{"source", source(row.trouble->wished.source)},
                           {"outcome", code_of(row.trouble->end)},
                           {"detail", row.trouble->detail}};
    if (row.staged != nullptr)
        json["staged"] = {{"source", source(row.staged->source)},
                          {"seen", source(row.staged->seen)},
                          {"changed", row.changed}};
    if (row.lock != nullptr) json["lock"] = lock_json(*row.lock);
    return json;
}

} // namespace console
