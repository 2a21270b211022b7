#include <algorithm>

#include "server/desk/undo.h"
#include "server/journal/house_words.h"
#include "server/web/batch_answer.h"
#include "server/web/handlers.h"
#include "server/web/history_search.h"
#include "server/web/operation_json.h"

namespace web {

namespace {
using commander = desk::take_answer (*)(desk::desk_state& desk, const desk::moment& now,
                                        const desk::actor& actor,
                                        const desk::batch_command& command);

problem no_such_operation()
{
    return {"noSuchBatch", "this batch is not known any more"};
}

const desk::batch* find_operation(const server& server, const call& call, desk::ulid& id)
{
    if (!desk::read_id(call.values[0], id)) return nullptr;
    const auto batch = server.desk.house.batches.find(id);
    const bool there =
        batch != server.desk.house.batches.end() && may_view(call.actor.may, batch->second);
    return there ? &batch->second : nullptr;
}

// What the desk has forgotten, from the journal. An operation that nobody may know of, who asks, is
// none.
struct remembered_operation {
    desk::ulid id;
    desk::rights may;
    desk::monotonic until{};
    std::uint64_t asked = 0; // the question's number; 0: too many were asking

    std::optional<response> operator()(server& server, const desk::moment& now)
    {
        if (asked == 0) asked = journal::ask(server.journal, id);
        const auto found = server.history_answers.find(asked);
        if (found == server.history_answers.end() && now.steady < until) return std::nullopt;
        if (found == server.history_answers.end()) return problem_response(too_long());
        const auto& [number, page, failure, batch] = found->second;
        if (!failure.empty()) return problem_response(unreadable(failure));
        if (!batch || !may_view(may, *batch)) return problem_response(no_such_operation());
        return json_response(operation_json(server, may, id, *batch));
    }
};

answer answer_remembered(server& server, const call& call, const desk::ulid& id)
{
    answer held;
    held.until = call.now.steady + LONGEST_SEARCH;
    held.later = remembered_operation{id, call.actor.may, held.until, ask(server.journal, id)};
    return held;
}

// The step that is meant, when it is named: by now another one may be the next.
problem read_step(fields& fields, const std::vector<const desk::undo_step*>& steps)
{
    const std::optional<std::string> named = read_text(fields, "of");
    if (!named || steps.empty()) return {};
    if (text_of(steps.front()->batch) == *named) return {};
    return {"changedSince", "another operation of yours is the next one by now"};
}

answer command_step(server& server, const call& call,
                    const std::vector<const desk::undo_step*>& steps, commander go)
{
    problem wrong;
    std::chrono::milliseconds wait{};
    if (!read_wait(call, wait, wait, wrong)) return wrong;
    desk::batch_command command;
    std::vector<problem_at> errors;
    fields fields = fields_of(call.body, "", errors);
    read_command(fields, command);
    const problem another = read_step(fields, steps);
    finish(fields);
    if (!errors.empty()) return problem_of(errors);
    if (!another.code.empty()) return another;
    return answer_batch(server, call, command, go(server.desk, call.now, call.actor, command),
                        wait);
}

json step_json(const server& server, const desk::rights& may, const desk::undo_step& step)
{
    json of = {{"operation", text_of(step.batch)}};
    const auto batch = server.desk.house.batches.find(step.batch);
    const bool kept = batch != server.desk.house.batches.end();
    if (kept) of["kind"] = journal::word_of(journal::BATCH_KINDS, batch->second.kind);
    of["wished"] = time_text(step.made);
    if (kept && batch->second.kind == desk::batch_kind::salvo)
        of["salvo"] = salvo_run_json(server.desk, may, batch->second);
    return of;
}

answer tell_step(server& server, const call& call, const std::vector<const desk::undo_step*>& steps,
                 commander go)
{
    desk::batch_command command;
    command.rule = desk::batch_rule::rest;
    command.dry_run = true;
    const std::string* const rule = find_parameter(call.request, "rule");
    if (rule != nullptr && *rule == "all") {
        command.rule = desk::batch_rule::all;
    } else if (rule != nullptr && *rule != "rest") {
        problem wrong{"badValue", "rule must be all or rest"};
        wrong.errors = {{"rule", wrong.code, wrong.detail}};
        return wrong;
    }
    json body = {{"steps", steps.size()}};
    if (steps.empty()) return json_response(body);
    body["of"] = step_json(server, call.actor.may, *steps.front());
    body["dryRun"] = dry_run_json(server.desk, call.actor.may, call.now, command.rule,
                                  go(server.desk, call.now, call.actor, command));
    return json_response(body);
}
} // namespace

answer get_operation(server& server, const call& call)
{
    problem wrong;
    std::chrono::milliseconds wait{};
    desk::ulid id;
    if (!read_wait(call, wait, wait, wrong)) return wrong;
    if (find_operation(server, call, id) != nullptr)
        return answer_operation(server, call, id, wait);
    if (id.is_none() || server.desk.house.batches.contains(id)) return no_such_operation();
    return answer_remembered(server, call, id);
}

answer roll_back(server& server, const call& call)
{
    problem wrong;
    std::chrono::milliseconds wait{};
    desk::ulid id;
    if (!read_wait(call, wait, wait, wrong)) return wrong;
    if (find_operation(server, call, id) == nullptr) return no_such_operation();
    desk::batch_command command;
    std::vector<problem_at> errors;
    fields fields = fields_of(call.body, "", errors);
    read_command(fields, command);
    command.dry_run = read_flag(fields, "dryRun").value_or(false);
    finish(fields);
    if (!errors.empty()) return problem_of(errors);
    return answer_batch(server, call, command,
                        roll_back(server.desk, call.now, call.actor, id, command), wait);
}

answer get_undo(server& server, const call& call)
{
    return tell_step(server, call, undo_steps(server.desk.house, call.now, call.actor.person),
                     desk::undo);
}

answer undo(server& server, const call& call)
{
    return command_step(server, call, undo_steps(server.desk.house, call.now, call.actor.person),
                        desk::undo);
}

answer get_redo(server& server, const call& call)
{
    return tell_step(server, call, redo_steps(server.desk.house, call.now, call.actor.person),
                     desk::redo);
}

answer redo(server& server, const call& call)
{
    return command_step(server, call, redo_steps(server.desk.house, call.now, call.actor.person),
                        desk::redo);
}

} // namespace web
