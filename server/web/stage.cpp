#include "server/desk/stages.h"
#include "server/web/batch_answer.h"
#include "server/web/entity_tag.h"
#include "server/web/handlers.h"
#include "server/web/position.h"
#include "server/web/route_fields.h"
#include "server/web/stage_json.h"

namespace web {

namespace {
answer change(server& server, const call& call, const desk::stage_change& wanted)
{
    const desk::row_objection found =
        change_stage(server.desk, call.now, call.actor, call.values[0], wanted);
    if (found.why != desk::reason::none) {
        problem problem = problem_of(found, call.values[0]);
        if (found.row) problem.destination = wanted.rows[*found.row].first;
        return problem;
    }
    answer given = json_response(stage_json(server, call.now, call.actor, call.values[0]));
    add_entity_tag(call.request, given.response);
    return given;
}

std::vector<std::pair<int, int>> read_staged(fields& fields, const server& server,
                                             const std::string& router)
{
    std::vector<std::pair<int, int>> rows;
    for (const desk::take_row& row :
         read_rows(fields, server.desk, {router, 0, desk::POSITIONS, false}))
        rows.emplace_back(row.wished.destination, row.wished.source);
    return rows;
}

std::vector<int> read_destinations(fields& fields, const std::string& name)
{
    std::vector<int> destinations;
    if (find_member(fields, name) == nullptr) return destinations;
    const json* const array = read_array(fields, name, desk::POSITIONS);
    if (array == nullptr) return destinations;
    for (std::size_t i = 0; i < array->size(); ++i) {
        const json& each = (*array)[i];
        const bool good = each.is_number_unsigned() && each.get<std::uint64_t>() < desk::POSITIONS;
        if (good)
            destinations.push_back(each.get<int>());
        else
            fields.wrong.push_back({fields.at + "/" + name + "/" + std::to_string(i), "badValue",
                                    "a destination is a number from 0 to 1023"});
    }
    return destinations;
}
} // namespace

answer get_stage(server& server, const call& call)
{
    problem wrong;
    if (find_router(server, call, wrong) == nullptr) return wrong;
    return json_response(stage_json(server, call.now, call.actor, call.values[0]));
}

answer set_stage(server& server, const call& call)
{
    problem wrong;
    if (find_router(server, call, wrong) == nullptr) return wrong;
    std::vector<problem_at> errors;
    fields fields = fields_of(call.body, "", errors);
    desk::stage_change wanted;
    wanted.clear = true;
    wanted.rows = read_staged(fields, server, call.values[0]);
    finish(fields);
    if (!errors.empty()) return problem_of(errors, call.values[0]);
    return change(server, call, wanted);
}

answer change_stage(server& server, const call& call)
{
    problem wrong;
    if (find_router(server, call, wrong) == nullptr) return wrong;
    std::vector<problem_at> errors;
    fields fields = fields_of(call.body, "", errors);
    desk::stage_change wanted;
    if (find_member(fields, "rows") != nullptr)
        wanted.rows = read_staged(fields, server, call.values[0]);
    wanted.remove = read_destinations(fields, "remove");
    wanted.keep = read_destinations(fields, "keep");
    finish(fields);
    if (errors.empty() && call.body.empty())
        errors.push_back({"", "badValue", "rows, remove or keep must be there"});
    if (!errors.empty()) return problem_of(errors, call.values[0]);
    return change(server, call, wanted);
}

answer clear_stage(server& server, const call& call)
{
    problem wrong;
    if (find_router(server, call, wrong) == nullptr) return wrong;
    clear_stage(server.desk, call.actor, call.values[0]);
    return response{204, "", "", {}};
}

answer dry_run_stage(server& server, const call& call)
{
    problem wrong;
    if (find_router(server, call, wrong) == nullptr) return wrong;
    desk::batch_command command;
    command.dry_run = true;
    std::vector<problem_at> errors;
    fields fields = fields_of(call.body, "", errors);
    read_rule(fields, command.rule);
    finish(fields);
    if (!errors.empty()) return problem_of(errors);
    return answer_batch(server, call, command,
                        take_stage(server.desk, call.now, call.actor, call.values[0], command), {},
                        call.values[0]);
}

answer take_stage(server& server, const call& call)
{
    problem wrong;
    std::chrono::milliseconds wait{};
    if (find_router(server, call, wrong) == nullptr || !read_wait(call, wait, wait, wrong))
        return wrong;
    desk::batch_command command;
    std::vector<problem_at> errors;
    fields fields = fields_of(call.body, "", errors);
    read_command(fields, command);
    finish(fields);
    if (!errors.empty()) return problem_of(errors);
    return answer_batch(server, call, command,
                        take_stage(server.desk, call.now, call.actor, call.values[0], command),
                        wait, call.values[0]);
}

answer list_stages(server& server, const call& call)
{
    problem wrong;
    if (find_router(server, call, wrong) == nullptr) return wrong;
    return json_response(stages_json(server, call.values[0]));
}

} // namespace web
