#include "server/web/batch_answer.h"
#include "server/web/handlers.h"
#include "server/web/route_fields.h"
#include "server/web/route_texts.h"

namespace web {

answer get_route(server& server, const call& call)
{
    problem wrong;
    const auto destination = find_destination(server, call, wrong);
    if (!destination) return wrong;
    return response{200, "application/json", route_text(server, call.values[0], *destination), {}};
}

answer put_route(server& server, const call& call)
{
    problem wrong;
    std::chrono::milliseconds wait{};
    desk::take_request request;
    desk::take_row& row = request.rows.emplace_back();
    row.wished.router = call.values[0];
    const auto destination = find_destination(server, call, wrong);
    if (!destination) return wrong;
    row.wished.destination = *destination;
    if (!read_wait(call, wait, wait, wrong)) return wrong;
    std::vector<problem_at> errors;
    fields fields = fields_of(call.body, "", errors);
    read_source(fields, server.desk, row.wished);
    row.if_source = read_if_source(fields);
    request.send_unchanged = read_flag(fields, "sendUnchanged").value_or(false);
    request.reason_given = read_text(fields, "reason").value_or("");
    finish(fields);
    if (!errors.empty()) {
        wrong = problem_of(errors, call.values[0]);
        wrong.destination = row.wished.destination;
        return wrong;
    }
    return answer_row(server, call, take(server.desk, call.now, call.actor, request), wait);
}

answer accept_outcome(server& server, const call& call)
{
    problem wrong;
    const auto destination = find_destination(server, call, wrong);
    if (!destination) return wrong;
    const desk::objection found =
        accept_outcome(server.desk, call.now, call.actor, call.values[0], *destination);
    if (found.why == desk::reason::none) return response{204, "", "", {}};
    wrong = problem_of(found, call.values[0]);
    wrong.destination = destination;
    return wrong;
}

} // namespace web
