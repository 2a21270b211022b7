#include "server/accounts/tokens.h"
#include "server/desk/checks.h"
#include "server/desk/words.h"
#include "server/web/batch_answer.h"
#include "server/web/handlers.h"
#include "server/web/operation_json.h"
#include "server/web/position.h"
#include "server/web/route_fields.h"

namespace web {

namespace {
constexpr std::chrono::milliseconds USUAL_WAIT{5000};

// Kept by nobody on the way, who might answer with it the next time and route nothing.
response line(int status, const std::string& text)
{
    return {status, "text/plain; charset=utf-8", text + "\n", {{"Cache-Control", "no-store"}}};
}

response error_line(const problem& problem)
{
    return line(problem.status == 0 ? status_of(problem.code) : problem.status,
                "ERR " + problem.detail);
}

// "7 2"; "7 none".
std::string text_of(const desk::route& route)
{
    const bool none = route.source == desk::NO_SOURCE;
    return std::to_string(route.destination) + " " + (none ? "none" : std::to_string(route.source));
}

response tell(const server& server, const desk::rights& /*may*/, const desk::ulid& id,
              const desk::batch& batch)
{
    const desk::wish& row = batch.rows.front();
    if (row.end == desk::outcome::open) return line(202, "OPEN " + text_of(row.wished));
    if (row.end == desk::outcome::confirmed) return line(200, "OK " + text_of(row.wished));
    return error_line(problem_of_row(server, {id, 0}, row));
}

// Whether no page of another site has made a browser ask.
bool is_asked_openly(const request& request)
{
    const std::string* const site = find_header(request, "sec-fetch-site");
    return find_header(request, "origin") == nullptr &&
           (site == nullptr || *site == "none" || *site == "same-origin");
}

bool find_actor(server& server, const call& call, desk::actor& actor, problem& wrong)
{
    if (!server.settings.simple_form)
        wrong = {"simpleFormOff", "the simple form is off"};
    else if (!is_asked_openly(call.request))
        wrong = {"foreignOrigin", "a page of another site asked for this"};
    else if (const std::string* const token = find_parameter(call.request, "token");
             token == nullptr || !accounts::actor_of_token(server.accounts, call.now, *token,
                                                           accounts::token_kind::simple, actor))
        wrong = {"notSignedIn", "no such token"};
    else if (server.stopping)
        wrong = {"stopping", "the server is ending"};
    return wrong.code.empty();
}

bool read_source(const server& server, const std::string& text, bool by_name, desk::route& route,
                 problem& wrong)
{
    if (text == "none") {
        route.source = desk::NO_SOURCE;
        return true;
    }
    const auto found =
        find_position(server, route.router, desk::side::sources, text, by_name, wrong);
    if (found && *found >= sources_of(server.desk, route.router))
        wrong = {"noSuchSource",
                 "the router cannot route " + source_name(server.desk, route.router, *found)};
    if (wrong.code == "noSuchSource") wrong.status = 422; // as where it stands in a body
    if (found) route.source = *found;
    return wrong.code.empty();
}

bool read_route(const server& server, const call& call, desk::route& route, problem& wrong)
{
    std::map<std::string, std::string> given{{"by", "index"}};
    for (const char* const name : {"router", "destination", "source", "by"})
        if (const std::string* const value = find_parameter(call.request, name))
            given[name] = *value;
    for (const char* const name : {"router", "destination", "source"})
        if (given[name].empty()) wrong = {"badValue", std::string(name) + " is missing"};
    const bool by_name = given["by"] == "name";
    if (!by_name && given["by"] != "index") wrong = {"badValue", "by must be index or name"};
    if (!wrong.code.empty()) return false;
    route.router = given["router"];
    if (desk::find_router(server.desk, route.router) == nullptr) {
        wrong = {"noSuchRouter", "there is no such router"};
        return false;
    }
    auto destination = find_position(server, route.router, desk::side::destinations,
                                     given["destination"], by_name, wrong);
    if (destination) destination = find_routable(server, route.router, *destination, wrong);
    if (!destination) return false;
    route.destination = *destination;
    return read_source(server, given["source"], by_name, route, wrong);
}
} // namespace

answer simple_route(server& server, const call& call)
{
    problem wrong;
    desk::actor actor;
    desk::take_request request;
    desk::route& wished = request.rows.emplace_back().wished;
    std::chrono::milliseconds wait{};
    if (!find_actor(server, call, actor, wrong) || !read_route(server, call, wished, wrong) ||
        !read_wait(call, USUAL_WAIT, wait, wrong))
        return error_line(wrong);
    const desk::take_answer taken = take(server.desk, call.now, actor, request);
    if (taken.why != desk::reason::none)
        return error_line(problem_of(desk::objection{taken.why, taken.detail}));
    answer given = answer_when_ended(server, call, taken.batch, wait, tell);
    given.changes = true;
    return given;
}

} // namespace web
