#include "server/web/batch_answer.h"
#include "server/web/handlers.h"
#include "server/web/position.h"
#include "server/web/route_fields.h"
#include "server/web/route_texts.h"
#include "tools/common/numbers.h"

namespace web {

namespace {
// The revision that the asker has, when it is one of this instance. False, with the problem.
bool read_since(const server& server, const call& call, std::optional<std::uint64_t>& since,
                problem& wrong)
{
    std::uint64_t revision = 0;
    desk::ulid instance;
    const std::string* const text = find_parameter(call.request, "since");
    const std::string* const of = find_parameter(call.request, "instance");
    const char* bad = nullptr;
    if (text != nullptr && !common::read_decimal(*text, revision)) bad = "since";
    if (of != nullptr && !desk::read_id(*of, instance)) bad = "instance";
    if (text != nullptr && of != nullptr && instance == server.instance) since = revision;
    if (bad == nullptr) return true;
    wrong = {"badValue", std::string(bad) + " is none that there can be"};
    wrong.errors = {{bad, wrong.code, wrong.detail}};
    return false;
}
} // namespace

answer list_routes(server& server, const call& call)
{
    problem wrong;
    std::optional<std::uint64_t> since;
    if (find_router(server, call, wrong) == nullptr) return wrong;
    if (!read_since(server, call, since, wrong)) return wrong;
    return routes_response(server, call.values[0], since);
}

answer route_many(server& server, const call& call)
{
    problem wrong;
    std::chrono::milliseconds wait{};
    if (find_router(server, call, wrong) == nullptr || !read_wait(call, wait, wait, wrong))
        return wrong;
    desk::take_request request;
    std::vector<problem_at> errors;
    fields fields = fields_of(call.body, "", errors);
    request.rows = read_rows(fields, server.desk, {call.values[0], 1, desk::ROWS_PER_BATCH, true});
    read_command(fields, request);
    request.dry_run = read_flag(fields, "dryRun").value_or(false);
    request.send_unchanged = read_flag(fields, "sendUnchanged").value_or(false);
    finish(fields);
    if (!errors.empty()) return problem_of(errors, call.values[0]);
    return answer_batch(server, call, request, take(server.desk, call.now, call.actor, request),
                        wait, call.values[0]);
}

} // namespace web
