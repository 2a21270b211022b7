#include "console/events.h"

#include <set>
#include <utility>

#include "console/batch_text.h"
#include "console/entry_text.h"
#include "console/link_text.h"
#include "console/positions.h"
#include "console/route_names.h"
#include "console/times.h"
#include "server/desk/notices.h"
#include "server/desk/words.h"

namespace console {

namespace {
// What the desk's changes concern, each thing once.
struct changed_things {
    std::set<std::string> links, names, settings, removed; // routers
    std::set<std::pair<std::string, int>> facts;
};

changed_things sort_changes(const std::vector<desk::change>& changes)
{
    changed_things things;
    for (const desk::change& change : changes) {
        switch (change.what) {
        case desk::change::kind::link:
            things.links.insert(change.router);
            break;
        case desk::change::kind::names:
            things.names.insert(change.router);
            break;
        case desk::change::kind::settings:
            things.settings.insert(change.router);
            break;
        case desk::change::kind::removed:
            things.removed.insert(change.router);
            break;
        case desk::change::kind::fact:
            things.facts.emplace(change.router, change.position);
            break;
        case desk::change::kind::labels: // the others stand in entries, or concern a stage
        case desk::change::kind::lock:
        case desk::change::kind::wish:
        case desk::change::kind::stage:
        case desk::change::kind::salvo:
        case desk::change::kind::batch:
        case desk::change::kind::routers:
        case desk::change::kind::notice:
            break;
        }
    }
    return things;
}

// The text is a sentence with its end, or several.
notice make_notice(desk::wall at, const std::string& text, nlohmann::json json, bool always)
{
    json["type"] = "event";
    json["at"] = json_time(at);
    return {time_of_day(at) + " " + text, std::move(json), always};
}

std::string count_text(int count, const std::string& thing)
{
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string sizes_text(const console_state& console, const std::string& router)
{
    return count_text(routed_positions(console, router, desk::side::sources), "source") + ", " +
           count_text(routed_positions(console, router, desk::side::destinations), "destination");
}

const std::string& name_of(const console_state& console, const std::string& router)
{
    return desk::find_router(console.desk, router)->settings.name;
}

std::string link_sentence(const console_state& console, const std::string& router)
{
    const desk::live_router& live = *desk::find_live(console.desk, router);
    const std::string& name = name_of(console, router);
    switch (live.link) {
    case desk::link_state::connecting:
    case desk::link_state::reading:
        return name + ": " + (live.link_reason.empty() ? text_of(live.link) : live.link_reason);
    case desk::link_state::ready:
        return name + " is ready: " + sizes_text(console, router);
    case desk::link_state::off:
    case desk::link_state::down:
    case desk::link_state::failing:
        break;
    }
    return name + " is " + text_of(live.link) +
           (live.link_reason.empty() ? "" : ": " + live.link_reason);
}

// What has been said since the link was ready is not said again: attempts repeat for hours.
void tell_link(console_state& console, const desk::moment& now, const std::string& router,
               std::vector<notice>& notices)
{
    const desk::live_router& live = *desk::find_live(console.desk, router);
    link_memory& memory = console.links[router];
    if (live.link == desk::link_state::ready) {
        memory.connection = live.connection;
        memory.told.clear();
    } else if (memory.ready) {
        memory.lost = live.link_since;
    }
    memory.ready = live.link == desk::link_state::ready;
    if (std::exchange(memory.heard, live.link_since) != live.link_since)
        memory.since = now.steady - std::max(desk::wall{}, now.utc - live.link_since);
    const std::string sentence = link_sentence(console, router);
    const bool is_new = memory.ready || memory.told.insert(sentence).second;
    notices.push_back(make_notice(
        now.utc, sentence + ".\n",
        {{"event", "link"}, {"router", router}, {"link", link_json(console, router)}}, is_new));
}

void tell_names(const console_state& console, const desk::moment& now, const std::string& router,
                std::vector<notice>& notices)
{
    const desk::live_router& live = *desk::find_live(console.desk, router);
    const auto sources = static_cast<int>(live.source_names.size());
    const auto destinations = static_cast<int>(live.destination_names.size());
    notices.push_back(make_notice(now.utc,
                                  name_of(console, router) +
                                      " gave names: " + count_text(sources, "source") + ", " +
                                      count_text(destinations, "destination") + ".\n",
                                  {{"event", "names"},
                                   {"router", router},
                                   {"sources", sources},
                                   {"destinations", destinations}},
                                  false));
}

void tell_sizes(console_state& console, const desk::moment& now, const std::string& router,
                std::vector<notice>& notices)
{
    const desk::live_router& live = *desk::find_live(console.desk, router);
    link_memory& memory = console.links[router];
    if (memory.inputs == live.inputs && memory.outputs == live.outputs) return;
    memory.inputs = live.inputs;
    memory.outputs = live.outputs;
    notices.push_back(make_notice(
        now.utc, name_of(console, router) + " can route " + sizes_text(console, router) + ".\n",
        {{"event", "sizes"},
         {"router", router},
         {"sources", live.inputs},
         {"destinations", live.outputs}},
        false));
}

// What a destination shows by now, after all that is known of before; `taker` says whose doing it
// is. The person's own is told by the outcome of the wish.
struct shown_fact {
    desk::wall at{};
    desk::route route;
    std::string taker;
    bool own = false;
};

// It may be another router.
void forget_shown(console_state& console, const std::string& router, int destination)
{
    console.shown[router].erase(destination);
    console.before[router].erase(destination);
}

void note_fact(console_state& console, const shown_fact& fact, std::vector<notice>& notices)
{
    const auto& [router, destination, source] = fact.route;
    if (source == desk::UNKNOWN_SOURCE) return forget_shown(console, router, destination);
    const auto [last, is_first] = console.shown[router].emplace(destination, source);
    if (is_first || last->second == source) return;
    const int was = std::exchange(last->second, source);
    console.before[router][destination] = was;
    if (fact.own) return;
    notices.push_back(
        make_notice(fact.at,
                    place_text(console, router, destination) + " shows " +
                        desk::source_text(console.desk, router, source) + ": " + fact.taker + ".\n",
                    {{"event", "fact"},
                     {"router", router},
                     {"destination", destination_json(console.desk, router, destination)},
                     {"source", source_json(console.desk, router, source)},
                     {"was", source_json(console.desk, router, was)},
                     {"takenBy", fact.taker}},
                    false));
}

void tell_outside_change(console_state& console, desk::wall at, const desk::outside_change& change,
                         std::vector<notice>& notices)
{
    if (change.was != desk::UNKNOWN_SOURCE)
        console.shown[change.router].emplace(change.destination, change.was);
    note_fact(
        console,
        {at, {change.router, change.destination, change.source}, "taken by somebody else", false},
        notices);
}

bool is_own(const console_state& console, const desk::ulid& batch)
{
    const auto found = console.desk.house.batches.find(batch);
    return found != console.desk.house.batches.end() &&
           found->second.person == console.person.person;
}

void tell_confirmed(console_state& console, desk::wall at, const desk::wish_id& id,
                    std::vector<notice>& notices)
{
    const desk::wish* const wish = desk::find_wish(console.desk.house, id);
    if (wish == nullptr || desk::find_live(console.desk, wish->wished.router) == nullptr) return;
    const std::string& person = console.desk.house.batches.at(id.batch).person;
    note_fact(console, {at, wish->wished, "taken by " + person, is_own(console, id.batch)},
              notices);
}

void tell_late(const console_state& console, desk::wall at, const desk::wish_id& id,
               std::vector<notice>& notices)
{
    const std::string text = late_text(console, id);
    if (text.empty()) return; // forgotten
    notices.push_back(make_notice(at, text, late_json(console, id), is_own(console, id.batch)));
}

void tell_entry(console_state& console, const desk::entry& entry, std::vector<notice>& notices)
{
    if (const auto* outside = std::get_if<desk::outside_change>(&entry.what)) {
        if (desk::find_live(console.desk, outside->router) != nullptr)
            tell_outside_change(console, entry.at, *outside, notices);
        return;
    }
    if (const auto* ended = std::get_if<desk::wish_ended>(&entry.what)) {
        if (ended->end == desk::outcome::confirmed)
            tell_confirmed(console, entry.at, ended->id, notices);
        return;
    }
    if (const auto* late = std::get_if<desk::confirmed_late>(&entry.what))
        return tell_late(console, entry.at, late->id, notices);
    const bool own = entry.person == console.person.person; // its command has answered
    if (own || std::holds_alternative<desk::batch_made>(entry.what)) return;
    notices.push_back(make_notice(entry.at, entry_text(console, entry) + ".\n",
                                  entry_json(console, entry), false));
}

void tell_fact(console_state& console, const desk::moment& now, const std::string& router,
               int destination, std::vector<notice>& notices)
{
    const int source = desk::source_shown(*desk::find_live(console.desk, router), destination);
    const std::string taker = desk::taker_text(console.desk, router, destination, source);
    note_fact(console,
              {now.utc,
               {router, destination, source},
               taker,
               taker == "taken by " + console.person.person},
              notices);
}

// Of the batches that have ended by these entries.
void tell_outcomes(const console_state& console, const desk::moment& now,
                   const std::vector<desk::entry>& entries, std::vector<notice>& notices)
{
    std::set<desk::ulid> ended;
    for (const desk::entry& entry : entries)
        if (const auto* end = std::get_if<desk::wish_ended>(&entry.what))
            if (has_outcome(console.desk.house, end->id.batch)) ended.insert(end->id.batch);
    for (const desk::ulid& batch : ended)
        notices.push_back(make_notice(now.utc, outcome_text(console, batch),
                                      outcome_json(console, batch), is_own(console, batch)));
}

std::size_t rows_of(const happening& each)
{
    const auto wishes = each.json.find("wishes");
    return wishes == each.json.end() ? 0 : wishes->size();
}

// It is read later, when another router may be in use: with several, each is named.
void keep_history(console_state& console, const desk::entry& entry)
{
    const std::string in_use = console.router;
    if (console.desk.house.routers.size() > 1) console.router.clear();
    console.history.push_back(
        {entry.at, entry_text(console, entry) + ".", entry_json(console, entry)});
    console.router = in_use;
    console.history_rows += rows_of(console.history.back());
    while (console.history.size() > HISTORY_KEPT || console.history_rows > HISTORY_ROWS) {
        console.history_rows -= rows_of(console.history.front());
        console.history.pop_front();
        console.history_forgets = true;
    }
}

void forget_router(console_state& console, const std::string& router)
{
    console.before.erase(router);
    console.shown.erase(router);
    console.links.erase(router);
}
} // namespace

std::vector<notice> missed_notices(const console_state& console, const desk::moment& now)
{
    std::vector<notice> missed;
    for (const auto& [id, broken] :
         desk::notices_of(console.desk.house, console.person.person, now.utc)) {
        missed.push_back(make_notice(
            now.utc,
            "Your lock on " + place_text(console, broken.router, broken.destination) +
                " was broken by " + broken.by + " at " + day_and_time(broken.at) + " (" +
                broken.reason + ").\n",
            {{"event", "lockBroken"},
             {"router", broken.router},
             {"destination", destination_json(console.desk, broken.router, broken.destination)},
             {"owner", broken.person},
             {"person", broken.by},
             {"reason", broken.reason}},
            true));
        missed.back().json["at"] = json_time(broken.at);
    }
    return missed;
}

bool take_events(console_state& console, const desk::moment& now, std::vector<notice>& notices)
{
    const changed_things things = sort_changes(std::exchange(console.desk.changes, {}));
    const std::vector<desk::entry> entries = std::exchange(console.desk.entries, {});
    const auto is_there = [&](const std::string& router) {
        return desk::find_live(console.desk, router) != nullptr;
    };
    for (const std::string& router : things.removed)
        forget_router(console, router);
    for (const std::string& router : things.links)
        if (is_there(router)) tell_link(console, now, router, notices);
    for (const std::string& router : things.settings)
        if (is_there(router)) tell_sizes(console, now, router, notices);
    for (const std::string& router : things.names)
        if (is_there(router)) tell_names(console, now, router, notices);
    for (const desk::entry& entry : entries)
        tell_entry(console, entry, notices);
    for (const auto& [router, destination] : things.facts)
        if (is_there(router)) tell_fact(console, now, router, destination, notices);
    tell_outcomes(console, now, entries, notices);
    for (const desk::entry& entry : entries)
        keep_history(console, entry);
    return !entries.empty();
}

} // namespace console
