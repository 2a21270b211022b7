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

objection check_name(const std::string& name)
{
    const bool good = !name.empty() && cut_text(name) == name;
    if (!good) return {reason::bad_value, "a salvo's name has 1 to 255 bytes, none for control"};
    return {};
}

objection check_rows(const desk_state& desk, const actor& actor, const std::vector<route>& rows)
{
    if (rows.empty()) return {reason::bad_value, "a salvo needs rows"};
    if (rows.size() > ROWS_PER_BATCH) return {reason::bad_value, "a salvo has 4096 rows at most"};
    std::set<std::pair<std::string_view, int>> seen;
    for (const route& row : rows) {
        objection found = check_route(desk, actor, row);
        if (found.why != reason::none) return found;
        if (!seen.insert({row.router, row.destination}).second)
            return {reason::bad_value,
                    destination_name(desk, row.router, row.destination) + " stands there twice"};
    }
    return {};
}

std::size_t rows_kept(const house& house)
{
    std::size_t rows = 0;
    for (const auto& [id, salvo] : house.salvos)
        for (const salvo_version& version : salvo.versions)
            rows += version.rows.size();
    return rows;
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
} // namespace

salvo_answer save_salvo(desk_state& desk, const moment& now, const actor& actor,
                        const std::string& name, const std::vector<route>& rows)
{
    objection found = check_name(name);
    if (found.why == reason::none) found = check_rows(desk, actor, rows);
    if (found.why != reason::none) return {{}, found.why, std::move(found.detail)};
    if (rows_kept(desk.house) + rows.size() > SALVO_ROWS)
        return {{}, reason::too_many_at_once, "there are as many rows in salvos as there can be"};
    const std::optional<ulid> old = find_salvo(desk.house, name);
    if (!old && desk.house.salvos.size() >= SALVOS)
        return {{}, reason::too_many_at_once, "there are as many salvos as there can be"};
    const ulid id = old ? *old : make_id(desk.ids, now.utc);
    const int number = old ? desk.house.salvos.at(id).versions.back().number + 1 : 1;
    record_entry(desk, {now.utc, actor.person, actor.origin,
                        salvo_saved{id, name, {number, actor.person, now.utc, rows}}});
    tell_house_change(desk, change::kind::salvo, id);
    return {id, reason::none, ""};
}

objection delete_salvo(desk_state& desk, const moment& now, const actor& actor, const ulid& id)
{
    const auto found = desk.house.salvos.find(id);
    if (found == desk.house.salvos.end()) return no_such_salvo();
    const salvo& salvo = found->second;
    const std::vector<route>& rows = salvo.versions.back().rows;
    const bool may = std::all_of(rows.begin(), rows.end(),
                                 [&](const route& row) { return may_route(desk, actor, row); });
    if (!may)
        return {reason::no_right, actor.person + " may not route all that is in " + salvo.name};
    record_entry(desk, {now.utc, actor.person, actor.origin, salvo_deleted{id}});
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

take_answer run_salvo(desk_state& desk, const moment& now, const actor& actor, const ulid& id,
                      int version, const batch_command& command)
{
    if (std::optional<take_answer> again = answer_again(desk, command.id)) return *again;
    const auto found = desk.house.salvos.find(id);
    if (found == desk.house.salvos.end()) {
        objection none = no_such_salvo();
        return {{}, none.why, std::move(none.detail), {}};
    }
    const std::deque<salvo_version>& versions = found->second.versions;
    const auto wanted = version == 0
                            ? std::prev(versions.end())
                            : std::find_if(versions.begin(), versions.end(),
                                           [&](const auto& one) { return one.number == version; });
    if (wanted == versions.end())
        return {{},
                reason::no_such_salvo,
                found->second.name + " has no version " + std::to_string(version),
                {}};
    take_request request{command, {}, false};
    for (const route& row : wanted->rows)
        request.rows.push_back({row, std::nullopt});
    return take_as(desk, now, actor, request, {batch_kind::salvo, id, wanted->number, {}});
}

} // namespace desk
