#include "server/desk/setup.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <vector>

#include "server/desk/checks.h"
#include "server/desk/reports.h"
#include "server/desk/steps.h"
#include "server/desk/wishes.h"
#include "server/desk/words.h"

namespace desk {

namespace {
constexpr int LAST_PORT = 65535;
constexpr int ADDRESS_PARTS = 4;
constexpr int LAST_OF_PART = 255;

objection bad_value(const char* detail)
{
    return {reason::bad_value, detail};
}

objection check_settings(const router_settings& settings)
{
    const auto is_count = [](int count) {
        return count >= 0 && count <= ROUTED_POSITIONS;
    };
    if (!is_router_id(settings.id))
        return bad_value("a router's id has 1 to 64 letters, digits, '-' and '_'");
    if (settings.name.empty()) return bad_value("a router needs a name");
    if (!is_address(settings.address))
        return bad_value("the address must be four numbers up to 255 with dots, or empty");
    if (settings.port < 1 || settings.port > LAST_PORT)
        return bad_value("the port must be 1 to 65535");
    if (!is_count(settings.inputs) || !is_count(settings.outputs))
        return bad_value("the counts must be 0 to 256; 0: as many as the router has");
    if (settings.first_number != 0 && settings.first_number != 1)
        return bad_value("the first number shown must be 0 or 1");
    const auto is_size = [](int size) {
        return size >= 1 && size <= POSITIONS;
    };
    if (settings.simulated &&
        (!is_size(settings.simulated->sources) || !is_size(settings.simulated->destinations)))
        return bad_value("a simulated router has 1 to 1024 sources and destinations");
    if (settings.confirmation_limit < SHORTEST_CONFIRMATION_LIMIT ||
        settings.confirmation_limit > LONGEST_CONFIRMATION_LIMIT)
        return bad_value("the confirmation limit must be 0.1 to 60 s");
    return {};
}

// What a backend is told once, when it starts.
bool same_for_backend(const router_settings& one, const router_settings& other)
{
    return one.address == other.address && one.port == other.port && one.inputs == other.inputs &&
           one.outputs == other.outputs;
}

// What they were staged on is not known any more.
void doubt_stages(desk_state& desk, const std::string& router)
{
    for (auto& [person, stages] : desk.stages) {
        const auto stage = stages.find(router);
        if (stage == stages.end()) continue;
        for (auto& [destination, row] : stage->second)
            row.seen = UNKNOWN_SOURCE;
        tell_stage_change(desk, person, router);
    }
}

// It may be another router from now on, at which nobody here has done anything.
void forget_doings(desk_state& desk, const moment& now, const std::string& router)
{
    end_sent_elsewhere(desk, now, router);
    find_live(desk, router)->troubled.clear();
    find_live(desk, router)->ended_by_restart.clear();
    forget_reports(desk, now, router);
    doubt_stages(desk, router);
    const std::map<int, authorship> authors = find_router(desk, router)->authors;
    for (const auto& [destination, author] : authors)
        record_entry(desk, {now.utc, "", "", author_forgotten{router, destination}});
}

// What the backend holds may still be sent until it has ended, which the desk will not be told.
void end_wishes(desk_state& desk, const moment& now, const live_router& live)
{
    std::vector<wish_id> open;
    for (const auto& [destination, wishes] : live.open)
        for (const open_wish& wish : wishes)
            open.push_back(wish.id);
    for (const wish_id& id : open)
        end_wish(desk, now, id, outcome::unknown, "the router was removed");
}

// Does nothing when the router has no backend.
void end_any_backend(desk_state& desk, const moment& now, const std::string& router)
{
    if (find_live(desk, router)->link != link_state::off) end_backend(desk, now, router);
}

void forget_stages(desk_state& desk, const std::string& router)
{
    for (auto person = desk.stages.begin(); person != desk.stages.end();) {
        const bool had = person->second.erase(router) > 0;
        if (had) tell_stage_change(desk, person->first, router);
        person = person->second.empty() ? desk.stages.erase(person) : std::next(person);
    }
}

objection check_position(side side, int position)
{
    if (position >= 0 && position < POSITIONS) return {};
    return {side == side::sources ? reason::no_such_source : reason::no_such_destination,
            "labels are for positions below " + std::to_string(POSITIONS)};
}

void change_label(desk_state& desk, const moment& now, const actor& actor,
                  const std::string& router, side side, int position, label wanted)
{
    if (label_of(*find_router(desk, router), side, position) == wanted) return;
    record_entry(desk, {now.utc, actor.person, actor.origin,
                        label_set{router, side, position, std::move(wanted)}});
    tell_change(desk, router, change::kind::labels, position);
}
} // namespace

bool is_router_id(const std::string& text)
{
    constexpr const char* LETTERS =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
    return !text.empty() && text.size() <= ROUTER_ID_LENGTH &&
           text.find_first_not_of(LETTERS) == std::string::npos;
}

bool is_address(const std::string& text)
{
    if (text.empty()) return true;
    const char* at = text.data();
    const char* const end = at + text.size();
    for (int part = 0; part < ADDRESS_PARTS; ++part) {
        if (part > 0 && (at == end || *at++ != '.')) return false;
        unsigned value = 0;
        const auto read = std::from_chars(at, end, value);
        if (read.ec != std::errc() || value > LAST_OF_PART) return false;
        if (*at == '0' && read.ptr - at > 1) return false; // to some programs that is base 8
        at = read.ptr;
    }
    return at == end;
}

objection set_router(desk_state& desk, const moment& now, const actor& actor,
                     const router_settings& wanted)
{
    router_settings settings = wanted;
    settings.name = cut_text(wanted.name);
    if (right_on(actor.may, settings.id) < right::engineer)
        return {reason::no_right, actor.person + " is no engineer of " + cut_text(settings.id)};
    objection found = check_settings(settings);
    if (found.why != reason::none) return found;
    const house_router* const old = find_router(desk, settings.id);
    if (old == nullptr && desk.house.routers.size() >= ROUTERS)
        return {reason::too_many_at_once, "there are as many routers as there can be"};
    if (old != nullptr && old->settings == settings) return {};
    if (old != nullptr && old->settings.simulated != settings.simulated)
        return bad_value("whether a router is simulated, and its size, stays as it is");
    const bool ends_backend = old != nullptr && !same_for_backend(old->settings, settings);
    const bool moves =
        old != nullptr && !settings.simulated &&
        (old->settings.address != settings.address || old->settings.port != settings.port);
    const std::string id = settings.id;
    const ulid added_after = old != nullptr && !moves ? old->added_after : last_batch(desk.house);
    record_entry(
        desk, {now.utc, actor.person, actor.origin, router_set{std::move(settings), added_after}});
    if (old == nullptr) {
        live_router& live = desk.live[id];
        live.link_since = now.utc;
        live.revision = desk.removed_revision;
        tell_house_change(desk, change::kind::routers);
    }
    tell_change(desk, id, change::kind::settings);
    if (ends_backend) end_any_backend(desk, now, id);
    if (moves) forget_doings(desk, now, id);
    return {};
}

objection read_again(desk_state& desk, const moment& now, const actor& actor,
                     const std::string& router)
{
    objection found = check_engineer(desk, actor, router);
    if (found.why != reason::none) return found;
    if (find_live(desk, router)->link == link_state::ready) end_backend(desk, now, router);
    return {};
}

objection remove_router(desk_state& desk, const moment& now, const actor& actor,
                        const std::string& router)
{
    objection found = check_engineer(desk, actor, router);
    if (found.why != reason::none) return found;
    entry removed{now.utc, actor.person, actor.origin, router_removed{router}};
    end_any_backend(desk, now, router);
    end_wishes(desk, now, *find_live(desk, router));
    forget_stages(desk, router);
    tell_change(desk, router, change::kind::removed);
    desk.removed_revision = std::max(desk.removed_revision, find_live(desk, router)->revision);
    desk.live.erase(router); // the argument may be the desk's own: no use of it after this
    record_entry(desk, std::move(removed));
    tell_house_change(desk, change::kind::routers);
    return {};
}

objection set_label(desk_state& desk, const moment& now, const actor& actor,
                    const std::string& router, side side, int position, const label& wanted)
{
    objection found = check_engineer(desk, actor, router);
    if (found.why == reason::none) found = check_position(side, position);
    if (found.why != reason::none) return found;
    change_label(desk, now, actor, router, side, position,
                 {cut_text(wanted.alias), cut_text(wanted.group)});
    return {};
}

row_objection set_labels(desk_state& desk, const moment& now, const actor& actor,
                         const std::string& router, side side,
                         const std::vector<wanted_label>& wanted)
{
    objection found = check_engineer(desk, actor, router);
    if (found.why != reason::none) return {std::move(found), {}};
    std::set<int> seen;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const int position = wanted[i].position;
        found = check_position(side, position);
        if (found.why == reason::none && !seen.insert(position).second)
            found = {reason::bad_value, "index " + std::to_string(position) + " is there twice"};
        if (found.why != reason::none) return {std::move(found), i};
    }
    for (const wanted_label& each : wanted) {
        label label = label_of(*find_router(desk, router), side, each.position);
        if (each.alias) label.alias = cut_text(*each.alias);
        if (each.group) label.group = cut_text(*each.group);
        change_label(desk, now, actor, router, side, each.position, std::move(label));
    }
    return {};
}

} // namespace desk
