#include "server/desk/stages.h"

#include <algorithm>
#include <set>

#include "server/desk/checks.h"
#include "server/desk/steps.h"
#include "server/desk/words.h"

namespace desk {

namespace {
// Null when the person has staged nothing on the router.
stage_rows* find_stage(desk_state& desk, const std::string& person, const std::string& router)
{
    const auto stages = desk.stages.find(person);
    if (stages == desk.stages.end()) return nullptr;
    const auto stage = stages->second.find(router);
    return stage != stages->second.end() ? &stage->second : nullptr;
}

staged_row* find_row(desk_state& desk, const std::string& person, const std::string& router,
                     int destination)
{
    stage_rows* const stage = find_stage(desk, person, router);
    if (stage == nullptr) return nullptr;
    const auto row = stage->find(destination);
    return row != stage->end() ? &row->second : nullptr;
}

// Does nothing when there is none of this person on the router.
void forget_if_empty(desk_state& desk, const std::string& person, const std::string& router)
{
    const stage_rows* const stage = find_stage(desk, person, router);
    if (stage == nullptr || !stage->empty()) return;
    const auto stages = desk.stages.find(person);
    stages->second.erase(router);
    if (stages->second.empty()) desk.stages.erase(stages);
}

void forget_longest_idle(desk_state& desk)
{
    const auto last_staged = [](const auto& stages) {
        wall last{};
        for (const auto& [router, rows] : stages.second)
            for (const auto& [destination, row] : rows)
                last = std::max(last, row.staged);
        return last;
    };
    const auto idle = std::min_element(
        desk.stages.begin(), desk.stages.end(),
        [&](const auto& one, const auto& other) { return last_staged(one) < last_staged(other); });
    for (const auto& [router, rows] : idle->second)
        tell_stage_change(desk, idle->first, router);
    desk.stages.erase(idle);
}

void put_row(desk_state& desk, const moment& now, const actor& actor, const route& row)
{
    if (!desk.stages.contains(actor.person) && desk.stages.size() >= PEOPLE)
        forget_longest_idle(desk);
    const int seen = source_shown(*find_live(desk, row.router), row.destination);
    desk.stages[actor.person][row.router][row.destination] = {row.source, seen, now.utc};
}

row_objection check_rows(const desk_state& desk, const actor& actor, const std::string& router,
                         const std::vector<std::pair<int, int>>& rows)
{
    if (find_router(desk, router) == nullptr) return {no_such_router(router), {}};
    std::set<int> seen;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto& [destination, source] = rows[i];
        objection found = check_route(desk, actor, {router, destination, source});
        if (found.why == reason::none && !seen.insert(destination).second)
            found = {reason::duplicate_destination,
                     destination_text(desk, router, destination) + " is there twice"};
        if (found.why != reason::none) return {std::move(found), i};
    }
    return {};
}

// In the order in which they were staged, with what each destination must still show.
take_request request_of(const batch_command& command, const live_router& live,
                        const std::string& router, const stage_rows& stage)
{
    take_request request{command, {}, false};
    std::vector<std::pair<wall, take_row>> rows;
    for (const auto& [destination, row] : stage) {
        take_row taken_row{{router, destination, row.source}, std::nullopt};
        if (row.seen != UNKNOWN_SOURCE || has_changed(live, destination, row))
            taken_row.if_source = row.seen;
        rows.emplace_back(row.staged, taken_row);
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
    for (auto& [staged, row] : rows)
        request.rows.push_back(std::move(row));
    return request;
}
} // namespace

row_answer stage_row(desk_state& desk, const moment& now, const actor& actor, const route& row)
{
    objection found = check_route(desk, actor, row);
    if (found.why != reason::none) return {row, false, found.why, std::move(found.detail), false};
    put_row(desk, now, actor, row);
    tell_stage_change(desk, actor.person, row.router);
    return {row, true, reason::none, "", false};
}

row_objection change_stage(desk_state& desk, const moment& now, const actor& actor,
                           const std::string& router, const stage_change& wanted)
{
    row_objection found = check_rows(desk, actor, router, wanted.rows);
    if (found.why != reason::none) return found;
    bool changes = !wanted.rows.empty();
    if (stage_rows* const stage = find_stage(desk, actor.person, router)) {
        changes = changes || wanted.clear; // no stage is empty
        if (wanted.clear) stage->clear();
        for (const int destination : wanted.remove)
            changes = stage->erase(destination) > 0 || changes;
        for (const int destination : wanted.keep) {
            const auto row = stage->find(destination);
            if (row == stage->end()) continue;
            row->second.seen = source_shown(*find_live(desk, router), destination);
            changes = true;
        }
    }
    for (const auto& [destination, source] : wanted.rows)
        put_row(desk, now, actor, {router, destination, source});
    forget_if_empty(desk, actor.person, router);
    if (changes) tell_stage_change(desk, actor.person, router);
    return {};
}

bool unstage_row(desk_state& desk, const actor& actor, const std::string& router, int destination)
{
    stage_rows* const stage = find_stage(desk, actor.person, router);
    if (stage == nullptr || stage->erase(destination) == 0) return false;
    forget_if_empty(desk, actor.person, router);
    tell_stage_change(desk, actor.person, router);
    return true;
}

void clear_stage(desk_state& desk, const actor& actor, const std::string& router)
{
    stage_rows* const stage = find_stage(desk, actor.person, router);
    if (stage == nullptr) return;
    stage->clear();
    forget_if_empty(desk, actor.person, router);
    tell_stage_change(desk, actor.person, router);
}

bool keep_row(desk_state& desk, const actor& actor, const std::string& router, int destination)
{
    staged_row* const row = find_row(desk, actor.person, router, destination);
    if (row == nullptr) return false;
    row->seen = source_shown(*find_live(desk, router), destination);
    tell_stage_change(desk, actor.person, router);
    return true;
}

bool has_changed(const live_router& router, int destination, const staged_row& row)
{
    return source_shown(router, destination) != row.seen;
}

take_answer take_stage(desk_state& desk, const moment& now, const actor& actor,
                       const std::string& router, const batch_command& command)
{
    if (std::optional<take_answer> again = answer_again(desk, command.id)) return *again;
    if (find_router(desk, router) == nullptr) {
        objection found = no_such_router(router);
        return {{}, found.why, std::move(found.detail), {}};
    }
    stage_rows* const stage = find_stage(desk, actor.person, router);
    if (stage == nullptr) return {{}, reason::nothing_to_do, "nothing is staged", {}};
    const take_request request = request_of(command, *find_live(desk, router), router, *stage);
    take_answer answer = take_as(desk, now, actor, request, {batch_kind::stage, {}, 0, {}});
    if (command.dry_run) return answer;
    bool left = false;
    for (const row_answer& row : answer.rows)
        if ((row.goes || row.unchanged) && stage->erase(row.wished.destination) > 0) left = true;
    if (!left) return answer;
    forget_if_empty(desk, actor.person, router);
    tell_stage_change(desk, actor.person, router);
    return answer;
}

} // namespace desk
