#include "server/desk/salvos.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include "server/desk/checks.h"
#include "server/desk/steps.h"
#include "server/desk/words.h"

namespace desk {

namespace {
std::string lower_case(std::string text)
{
    for (char& letter : text)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

objection check_name(const house& house, const std::string& name, const ulid& of)
{
    const bool good = !name.empty() && cut_text(name) == name;
    if (!good) return {reason::bad_value, "a salvo's name has 1 to 255 bytes, none for control"};
    const std::optional<ulid> other = find_salvo(house, name);
    if (other && *other != of)
        return {reason::name_taken,
                "there is already a salvo called " + house.salvos.at(*other).name};
    return {};
}

row_objection check_rows(const desk_state& desk, const actor& actor, const std::vector<route>& rows)
{
    if (rows.empty()) return {{reason::bad_value, "a salvo needs rows"}, {}};
    if (rows.size() > ROWS_PER_BATCH)
        return {{reason::bad_value, "a salvo has 4096 rows at most"}, {}};
    std::set<std::pair<std::string_view, int>> seen;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        objection found = check_route(desk, actor, rows[i]);
        if (found.why == reason::none && !seen.insert({rows[i].router, rows[i].destination}).second)
            found = {reason::duplicate_destination,
                     destination_text(desk, rows[i].router, rows[i].destination) +
                         " is there twice"};
        if (found.why != reason::none) return {std::move(found), i};
    }
    return {};
}

std::size_t rows_of(const salvo& salvo)
{
    std::size_t rows = 0;
    for (const salvo_version& version : salvo.versions)
        rows += version.rows.size();
    return rows;
}

std::size_t rows_kept(const house& house)
{
    std::size_t rows = 0;
    for (const auto& [id, salvo] : house.salvos)
        rows += rows_of(salvo);
    return rows;
}

std::size_t rows_deleted(const house& house)
{
    std::size_t rows = 0;
    for (const auto& [id, deleted] : house.deleted_salvos)
        rows += rows_of(deleted.salvo);
    return rows;
}

// Deleted ones that are beyond a bound.
void forget_too_many(desk_state& desk, const moment& now)
{
    while (!desk.salvo_ends.empty() &&
           (desk.salvo_ends.size() > DELETED_SALVOS ||
            rows_kept(desk.house) + rows_deleted(desk.house) > SALVO_ROWS))
        forget_salvo(desk, now, ulid(desk.salvo_ends.begin()->second));
}

objection no_such_salvo()
{
    return {reason::no_such_salvo, "there is no such salvo"};
}

bool may_route(const desk_state& desk, const actor& actor, const route& row)
{
    const house_router* const router = find_router(desk, row.router); // may have been removed
    const std::string group =
        router != nullptr ? label_of(*router, side::destinations, row.destination).group : "";
    return may_operate(actor.may, row.router, group);
}
objection check_right_to(const desk_state& desk, const actor& actor, const salvo& salvo)
{
    const std::vector<route>& rows = salvo.versions.back().rows;
    const bool may = std::all_of(rows.begin(), rows.end(),
                                 [&](const route& row) { return may_route(desk, actor, row); });
    if (!may)
        return {reason::no_right, actor.person + " may not route all that is in " + salvo.name};
    return {};
}

// `id`: of the salvo whose next version that is; none: of a new one.
row_objection check_wanted(const desk_state& desk, const actor& actor, const ulid& id,
                           const wanted_salvo& wanted)
{
    row_objection found;
    if (!id.is_none()) found = {check_right_to(desk, actor, desk.house.salvos.at(id)), {}};
    if (found.why == reason::none) found = check_rows(desk, actor, wanted.rows);
    if (found.why == reason::none) found = {check_name(desk.house, wanted.name, id), {}};
    if (found.why == reason::none && rows_kept(desk.house) + wanted.rows.size() > SALVO_ROWS)
        found = {{reason::too_many_at_once, "there are as many rows in salvos as there can be"},
                 {}};
    if (found.why == reason::none && id.is_none() && desk.house.salvos.size() >= SALVOS)
        found = {{reason::too_many_at_once, "there are as many salvos as there can be"}, {}};
    return found;
}

salvo_answer save_version(desk_state& desk, const moment& now, const actor& actor, const ulid& id,
                          int number, const wanted_salvo& wanted)
{
    record_entry(desk, {now.utc, actor.person, actor.origin,
                        salvo_saved{id,
                                    wanted.name,
                                    {number, actor.person, now.utc, wanted.rows,
                                     cut_text(wanted.note), wanted.rule}}});
    tell_house_change(desk, change::kind::salvo, id);
    forget_too_many(desk, now);
    return {{}, id};
}
} // namespace

salvo_answer add_salvo(desk_state& desk, const moment& now, const actor& actor,
                       const wanted_salvo& wanted)
{
    row_objection found = check_wanted(desk, actor, {}, wanted);
    if (found.why != reason::none) return {std::move(found), {}};
    return save_version(desk, now, actor, make_id(desk.ids, now.utc), 1, wanted);
}

salvo_answer set_salvo(desk_state& desk, const moment& now, const actor& actor, const ulid& id,
                       const wanted_salvo& wanted)
{
    const auto old = desk.house.salvos.find(id);
    if (old == desk.house.salvos.end()) return {{no_such_salvo(), {}}, {}};
    row_objection found = check_wanted(desk, actor, id, wanted);
    if (found.why != reason::none) return {std::move(found), {}};
    const salvo_version& newest = old->second.versions.back();
    const bool same = newest.rows == wanted.rows && newest.note == cut_text(wanted.note) &&
                      newest.rule == wanted.rule;
    if (!same) return save_version(desk, now, actor, id, newest.number + 1, wanted);
    if (old->second.name == wanted.name) return {{}, id};
    record_entry(desk, {now.utc, actor.person, actor.origin, salvo_renamed{id, wanted.name}});
    tell_house_change(desk, change::kind::salvo, id);
    return {{}, id};
}

salvo_answer save_salvo(desk_state& desk, const moment& now, const actor& actor,
                        const std::string& name, const std::vector<route>& rows)
{
    const std::optional<ulid> old = find_salvo(desk.house, name);
    if (!old) return add_salvo(desk, now, actor, {name, rows, "", batch_rule::all});
    const salvo_version& newest = desk.house.salvos.at(*old).versions.back();
    const wanted_salvo wanted{name, rows, newest.note, newest.rule};
    row_objection found = check_wanted(desk, actor, *old, wanted);
    if (found.why != reason::none) return {std::move(found), {}};
    return save_version(desk, now, actor, *old, newest.number + 1, wanted);
}

objection delete_salvo(desk_state& desk, const moment& now, const actor& actor, const ulid& id)
{
    const auto salvo = desk.house.salvos.find(id);
    if (salvo == desk.house.salvos.end()) return no_such_salvo();
    objection found = check_right_to(desk, actor, salvo->second);
    if (found.why != reason::none) return found;
    record_entry(desk, {now.utc, actor.person, actor.origin, salvo_deleted{id}});
    tell_house_change(desk, change::kind::salvo, id);
    forget_too_many(desk, now);
    return {};
}

objection restore_salvo(desk_state& desk, const moment& now, const actor& actor, const ulid& id)
{
    const auto kept = desk.house.salvos.find(id);
    if (kept != desk.house.salvos.end())
        return {reason::not_deleted, kept->second.name + " has not been deleted"};
    const auto deleted = desk.house.deleted_salvos.find(id);
    if (deleted == desk.house.deleted_salvos.end()) return no_such_salvo();
    const salvo& salvo = deleted->second.salvo;
    objection found = check_right_to(desk, actor, salvo);
    if (found.why == reason::none) found = check_name(desk.house, salvo.name, id);
    if (found.why == reason::none && desk.house.salvos.size() >= SALVOS)
        found = {reason::too_many_at_once, "there are as many salvos as there can be"};
    if (found.why != reason::none) return found;
    record_entry(desk, {now.utc, actor.person, actor.origin, salvo_restored{id}});
    tell_house_change(desk, change::kind::salvo, id);
    return {};
}

std::optional<ulid> find_salvo(const house& house, const std::string& name)
{
    const std::string wanted = lower_case(name);
    for (const auto& [id, salvo] : house.salvos)
        if (lower_case(salvo.name) == wanted) return id;
    return std::nullopt;
}

const salvo_version* find_version(const salvo& salvo, int version)
{
    if (version == 0) return &salvo.versions.back();
    const auto found = std::find_if(salvo.versions.begin(), salvo.versions.end(),
                                    [&](const auto& one) { return one.number == version; });
    return found == salvo.versions.end() ? nullptr : &*found;
}

reason missing_for(const desk_state& desk, const route& row)
{
    return check_route(desk, {"", "", {right::administer, {}, {}}}, row).why;
}

take_answer run_salvo(desk_state& desk, const moment& now, const actor& actor, const ulid& id,
                      int version, const batch_command& command)
{
    if (std::optional<take_answer> again = answer_again(desk, command.id)) return *again;
    const auto found = desk.house.salvos.find(id);
    if (found == desk.house.salvos.end()) {
        objection none = no_such_salvo();
        return {{}, none.why, std::move(none.detail), {}};
    }
    const salvo_version* const wanted = find_version(found->second, version);
    if (wanted == nullptr)
        return {{},
                reason::no_such_version,
                found->second.name + " has no version " + std::to_string(version),
                {}};
    take_request request{command, {}, false};
    for (const route& row : wanted->rows)
        request.rows.push_back({row, std::nullopt});
    return take_as(desk, now, actor, request, {batch_kind::salvo, id, wanted->number, {}});
}

} // namespace desk
