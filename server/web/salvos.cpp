#include "server/desk/salvos.h"

#include "server/web/batch_answer.h"
#include "server/web/entity_tag.h"
#include "server/web/handlers.h"
#include "server/web/route_fields.h"
#include "server/web/salvo_json.h"
#include "tools/common/numbers.h"

namespace web {

namespace {
constexpr int LAST_VERSION = 1'000'000'000;

problem no_such_salvo()
{
    return {"noSuchSalvo", "there is no such salvo"};
}

// Null when there is none, or nothing of it may be viewed.
const desk::salvo* find_salvo(const server& server, const call& call, desk::ulid& id)
{
    if (!desk::read_id(call.values[0], id)) return nullptr;
    const auto found = server.desk.house.salvos.find(id);
    const bool there =
        found != server.desk.house.salvos.end() && may_view(call.actor.may, found->second);
    return there ? &found->second : nullptr;
}

bool read_salvo(const server& server, const call& call, desk::wanted_salvo& wanted, problem& wrong)
{
    std::vector<problem_at> errors;
    fields fields = fields_of(call.body, "", errors);
    require(fields, "name");
    wanted.name = read_text(fields, "name", desk::TEXT_LENGTH, 1).value_or("");
    wanted.note = read_text(fields, "note").value_or("");
    read_rule(fields, wanted.rule);
    for (const desk::take_row& row : read_rows(fields, server.desk, {}))
        wanted.rows.push_back(row.wished);
    finish(fields);
    if (!errors.empty()) wrong = problem_of(errors);
    return errors.empty();
}

problem problem_of_salvo(const desk::salvo_answer& found, const desk::wanted_salvo& wanted)
{
    problem problem = problem_of(found);
    if (found.why == desk::reason::too_many_at_once) problem.status = 409;
    if (!found.row) return problem;
    problem.router = wanted.rows[*found.row].router;
    problem.destination = wanted.rows[*found.row].destination;
    return problem;
}

response present_response(const server& server, const call& call, const desk::ulid& id,
                          int status = 200)
{
    const desk::salvo& salvo = server.desk.house.salvos.at(id);
    return json_response(salvo_json(server, call.actor.may, id, salvo, salvo.versions.back()),
                         status);
}

// A run's, or what a run would do.
answer command_run(server& server, const call& call, bool dry_run)
{
    problem wrong;
    std::chrono::milliseconds wait{};
    desk::ulid id;
    const desk::salvo* const salvo = find_salvo(server, call, id);
    if (salvo == nullptr) return no_such_salvo();
    if (!read_wait(call, wait, wait, wrong)) return wrong;
    std::vector<problem_at> errors;
    fields fields = fields_of(call.body, "", errors);
    const auto version =
        static_cast<int>(read_integer(fields, "version", 1, LAST_VERSION).value_or(0));
    desk::batch_command command;
    command.dry_run = dry_run;
    if (const desk::salvo_version* const known = find_version(*salvo, version))
        command.rule = known->rule;
    read_rule(fields, command.rule);
    if (!dry_run) command.reason_given = read_text(fields, "reason").value_or("");
    finish(fields);
    if (!errors.empty()) return problem_of(errors);
    return answer_batch(server, call, command,
                        run_salvo(server.desk, call.now, call.actor, id, version, command), wait);
}
} // namespace

answer list_salvos(server& server, const call& call)
{
    const std::string* const deleted = find_parameter(call.request, "deleted");
    if (deleted != nullptr && *deleted != "true" && *deleted != "false") {
        problem wrong{"badValue", "deleted must be true or false"};
        wrong.errors = {{"deleted", wrong.code, wrong.detail}};
        return wrong;
    }
    return json_response(
        salvos_json(server, call.actor.may, deleted != nullptr && *deleted == "true"));
}

answer add_salvo(server& server, const call& call)
{
    problem wrong;
    desk::wanted_salvo wanted;
    if (!read_salvo(server, call, wanted, wrong)) return wrong;
    const desk::salvo_answer added = add_salvo(server.desk, call.now, call.actor, wanted);
    if (added.why != desk::reason::none) return problem_of_salvo(added, wanted);
    answer given = present_response(server, call, added.id);
    add_entity_tag(call.request, given.response);
    given.response.status = 201;
    given.response.headers.emplace_back("Location", "/api/v1/salvos/" + text_of(added.id));
    return given;
}

answer get_salvo(server& server, const call& call)
{
    desk::ulid id;
    const desk::salvo* const salvo = find_salvo(server, call, id);
    if (salvo == nullptr) return no_such_salvo();
    int number = 0;
    const std::string* const version = find_parameter(call.request, "version");
    if (version != nullptr &&
        (!common::read_decimal(*version, number) || number < 1 || number > LAST_VERSION)) {
        problem wrong{"badValue", "version must be a number from 1 to 1000000000"};
        wrong.errors = {{"version", wrong.code, wrong.detail}};
        return wrong;
    }
    const desk::salvo_version* const wanted = find_version(*salvo, number);
    if (wanted == nullptr)
        return problem{"noSuchVersion", salvo->name + " has no version " + std::to_string(number)};
    return json_response(salvo_json(server, call.actor.may, id, *salvo, *wanted));
}

answer set_salvo(server& server, const call& call)
{
    problem wrong;
    desk::ulid id;
    desk::wanted_salvo wanted;
    if (find_salvo(server, call, id) == nullptr) return no_such_salvo();
    if (!read_salvo(server, call, wanted, wrong)) return wrong;
    const desk::salvo_answer saved = set_salvo(server.desk, call.now, call.actor, id, wanted);
    if (saved.why != desk::reason::none) return problem_of_salvo(saved, wanted);
    answer given = present_response(server, call, id);
    add_entity_tag(call.request, given.response);
    return given;
}

answer delete_salvo(server& server, const call& call)
{
    desk::ulid id;
    if (find_salvo(server, call, id) == nullptr) return no_such_salvo();
    const desk::objection found = delete_salvo(server.desk, call.now, call.actor, id);
    if (found.why != desk::reason::none) return problem_of(found);
    return response{204, "", "", {}};
}

answer restore_salvo(server& server, const call& call)
{
    desk::ulid id;
    if (!desk::read_id(call.values[0], id)) return no_such_salvo();
    const desk::objection found = restore_salvo(server.desk, call.now, call.actor, id);
    if (found.why != desk::reason::none) return problem_of(found);
    return present_response(server, call, id);
}

answer list_salvo_versions(server& server, const call& call)
{
    desk::ulid id;
    const desk::salvo* const salvo = find_salvo(server, call, id);
    if (salvo == nullptr) return no_such_salvo();
    return json_response(salvo_versions_json(server, call.actor.may, id, *salvo));
}

answer dry_run_salvo(server& server, const call& call)
{
    return command_run(server, call, true);
}

answer take_salvo(server& server, const call& call)
{
    return command_run(server, call, false);
}

} // namespace web
