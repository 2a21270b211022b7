#include "server/web/batch_answer.h"

#include <algorithm>

#include "server/desk/words.h"
#include "server/web/operation_json.h"

namespace web {

namespace {
response tell_operation(const server& server, const desk::rights& may, const desk::ulid& id,
                        const desk::batch& batch)
{
    return json_response(operation_json(server, may, id, batch));
}

response tell_progress(const server& server, const desk::rights& may, const desk::ulid& id,
                       const desk::batch& batch)
{
    response response = tell_operation(server, may, id, batch);
    if (has_ended(batch)) return response;
    response.status = 202;
    response.headers.emplace_back("Location", "/api/v1/operations/" + text_of(id));
    return response;
}

response tell_row(const server& server, const desk::rights& may, const desk::ulid& id,
                  const desk::batch& batch)
{
    const desk::wish& row = batch.rows.front();
    if (row.end == desk::outcome::open || row.end == desk::outcome::confirmed)
        return tell_progress(server, may, id, batch);
    return problem_response(problem_of_row(server, {id, 0}, row));
}

response tell_batch(const server& server, const desk::rights& may, const desk::ulid& id,
                    const desk::batch& batch)
{
    const bool goes = std::any_of(batch.rows.begin(), batch.rows.end(), desk::was_accepted);
    if (goes) return tell_progress(server, may, id, batch);
    const auto may_view = [&](const desk::wish& row) {
        return right_on(may, row.wished.router) >= desk::right::view;
    };
    const auto first =
        std::find_if(batch.rows.begin(), batch.rows.end(), [&](const desk::wish& row) {
            return may_view(row) && row.why != desk::reason::blocked_by_other_row;
        });
    const auto number = static_cast<std::uint32_t>(first - batch.rows.begin());
    problem problem =
        first == batch.rows.end()
            ? web::problem{"noRight", batch.person + " may not view all that this is about"}
            : problem_of_row(server, {id, number}, *first);
    problem.operation = text_of(id);
    for (const desk::wish& row : batch.rows)
        if (may_view(row))
            problem.errors.push_back({"/rows/" + std::to_string(problem.errors.size()),
                                      desk::code_of(row.why), row.detail});
    return problem_response(problem);
}

// None while it is open.
std::optional<response> tell_ended(const server& server, const desk::rights& may,
                                   const desk::ulid& id, bool now, teller tell)
{
    const auto batch = server.desk.house.batches.find(id);
    if (batch == server.desk.house.batches.end())
        return problem_response({"noSuchBatch", "this batch is not known any more"});
    if (!now && !has_ended(batch->second)) return std::nullopt;
    return tell(server, may, id, batch->second);
}
} // namespace

void read_rule(fields& fields, desk::batch_rule& rule)
{
    const auto word = read_word(fields, "rule", {"all", "rest"});
    if (word) rule = *word == 0 ? desk::batch_rule::all : desk::batch_rule::rest;
}

void read_command(fields& fields, desk::batch_command& command)
{
    read_rule(fields, command.rule);
    command.reason_given = read_text(fields, "reason", desk::TEXT_LENGTH).value_or("");
}

answer answer_batch(server& server, const call& call, const desk::batch_command& command,
                    const desk::take_answer& taken, std::chrono::milliseconds wait,
                    const std::string& router)
{
    if (taken.why != desk::reason::none)
        return problem_of(desk::objection{taken.why, taken.detail}, router);
    if (command.dry_run)
        return json_response(
            dry_run_json(server.desk, call.actor.may, call.now, command.rule, taken));
    return answer_when_ended(server, call, taken.batch, wait, tell_batch);
}

answer answer_row(server& server, const call& call, const desk::take_answer& taken,
                  std::chrono::milliseconds wait)
{
    if (taken.why != desk::reason::none)
        return problem_of(desk::objection{taken.why, taken.detail});
    return answer_when_ended(server, call, taken.batch, wait, tell_row);
}

answer answer_operation(server& server, const call& call, const desk::ulid& id,
                        std::chrono::milliseconds wait)
{
    return answer_when_ended(server, call, id, wait, tell_operation);
}

answer answer_when_ended(const server& present, const call& call, const desk::ulid& id,
                         std::chrono::milliseconds wait, teller tell)
{
    answer given;
    const desk::monotonic until = call.now.steady + wait;
    if (auto response = tell_ended(present, call.actor.may, id, wait.count() == 0, tell)) {
        given.response = std::move(*response);
        return given;
    }
    given.until = until;
    given.later = [=, may = call.actor.may](const server& server, const desk::moment& now) {
        return tell_ended(server, may, id, now.steady >= until, tell);
    };
    return given;
}

} // namespace web
