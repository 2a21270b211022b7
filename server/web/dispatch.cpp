#include "server/web/dispatch.h"

#include <algorithm>
#include <exception>

#include "server/web/body.h"
#include "server/web/credentials.h"
#include "server/web/entity_tag.h"
#include "server/web/keyed.h"
#include "server/web/page.h"
#include "tools/common/words.h"

namespace web {

namespace {
constexpr std::size_t LONGEST_OPEN_BODY = 8192; // of a request that may be anybody's

// On the router of the path; where there is none, `view` and `operate` may be on any, and the desk
// asks again for each destination.
bool may(const desk::rights& rights, const route_match& match)
{
    const desk::right wanted = match.found->right;
    const bool any = wanted == desk::right::view || wanted == desk::right::operate;
    if (match.found->pattern.find("/{router}") != std::string_view::npos)
        return desk::right_on(rights, match.values.front()) >= wanted;
    return rights.usual >= wanted ||
           (any && std::any_of(rights.exceptions.begin(), rights.exceptions.end(),
                               [&](const auto& exception) { return exception.second >= wanted; }));
}

bool has_word(std::string_view words, std::string_view word)
{
    while (!words.empty()) {
        const std::string_view one = words.substr(0, words.find(' '));
        if (one == word) return true;
        words.remove_prefix(std::min(words.size(), one.size() + 1));
    }
    return false;
}

bool are_known(const request& request, const route& route, problem& wrong)
{
    for (const auto& [name, value] : request.query) {
        if (has_word(route.parameters, name)) continue;
        wrong = {"badValue", "there is no parameter " + name + " here"};
        wrong.errors = {{name, wrong.code, wrong.detail}};
        return false;
    }
    return true;
}

bool read_body(const request& request, json& body, problem& wrong)
{
    body = json(json::value_t::discarded);
    if (request.body.empty()) return true;
    const std::string* const type = find_header(request, "content-type");
    if (type == nullptr ||
        !common::same_name(std::string_view(*type).substr(0, type->find_first_of("; ")),
                           "application/json")) {
        wrong = {"unsupportedMediaType", "Send application/json."};
        return false;
    }
    std::string error;
    if (read_json(request.body, body, error)) return true;
    wrong = {"malformedJson", error};
    return false;
}

bool is_encoded(const request& request)
{
    const std::string* const encoding = find_header(request, "content-encoding");
    return encoding != nullptr && !common::same_name(*encoding, "identity");
}

answer refuse(const problem& wrong, const std::string& header = {}, const std::string& value = {})
{
    answer refused(wrong);
    if (!header.empty()) refused.response.headers.emplace_back(header, value);
    return refused;
}

// Finds who asks. None when they may.
std::optional<answer> refuse_actor(server& server, call& call, const route_match& match)
{
    problem wrong;
    const bool known = find_actor(server, call.now, call.request, call.actor, wrong);
    if (match.found->open) return {};
    if (!known) return refuse(wrong, "WWW-Authenticate", "Bearer");
    if (may(call.actor.may, match)) return {};
    return problem{"noRight", call.actor.person + " may not do this.", 0,
                   match.found->pattern.find("/{router}") == std::string_view::npos
                       ? std::string()
                       : match.values.front()};
}

// Asks again, each time before the answer's `later`, what was asked before its handler.
answer while_allowed(answer given, const call& call, const route_match& match,
                     std::span<const route> routes)
{
    request asked = call.request;
    asked.body.clear(); // which may be long
    given.later = [=, later = std::move(given.later), abandoned = given.abandoned](
                      server& then, const desk::moment& now) -> std::optional<response> {
        web::call again{asked, match.values, {}, now, {}};
        std::optional<answer> refused = refuse_actor(then, again, match);
        problem wrong;
        if (!refused && !is_present(then, again, routes, wrong)) refused = wrong;
        if (!refused) return later(then, now);
        if (abandoned) abandoned(then, now);
        return refused->response;
    };
    return given;
}

answer call_route(server& server, const desk::moment& now, const request& request,
                  std::span<const route> routes, const route_match& match)
{
    problem wrong;
    const bool changes = changes_something(request.method);
    if (!comes_from_us(server, request, changes, wrong)) return wrong;
    call call{request, match.values, {}, now, {}};
    if (auto refused = refuse_actor(server, call, match)) return std::move(*refused);
    if (server.stopping && changes)
        return refuse({"stopping", "The server is ending; nothing new is taken."}, "Retry-After",
                      "5");
    if (match.found->open && request.body.size() > LONGEST_OPEN_BODY)
        return problem{"bodyTooLarge", "A body has at most 8 KiB here."};
    if (!are_known(request, *match.found, wrong)) return wrong;
    if (!request.body.empty() && is_encoded(request))
        return refuse({"unsupportedMediaType", "Send the body without a Content-Encoding."},
                      "Accept-Encoding", "identity");
    if (!read_body(request, call.body, wrong)) return wrong;
    if (changes)
        return call_once(server, call, *match.found, [&]() -> answer {
            if (!is_present(server, call, routes, wrong)) return wrong;
            answer given = match.found->handle(server, call);
            if (!given.acts_later) return given;
            return while_allowed(std::move(given), call, match, routes);
        });
    answer given = match.found->handle(server, call);
    if (!given.changes && !given.later) add_entity_tag(request, given.response);
    return given;
}

answer find_and_call(server& server, const desk::moment& now, const request& request,
                     std::span<const route> routes)
{
    const route_match match = find_route(routes, request);
    if (match.found == nullptr && match.allowed.empty()) {
        if (auto file = changes_something(request.method) ? std::nullopt : page_file(request))
            return std::move(*file);
        return problem{"notFound", "There is nothing at this address."};
    }
    if (match.found == nullptr)
        return refuse({"methodNotAllowed", match.allowed + " can be asked for here."}, "Allow",
                      match.allowed);
    answer given = call_route(server, now, request, routes, match);
    given.route = match.found->name;
    return given;
}
} // namespace

answer handle(server& server, const desk::moment& now, const request& request,
              std::span<const route> routes)
{
    try {
        return find_and_call(server, now, request, routes);
    } catch (const std::exception& mistake) {
        std::string path; // without the query, which may have a token
        for (const std::string& segment : request.path)
            path += "/" + segment;
        log_line(server.log, now.utc, log_level::error,
                 "Something went wrong at a request for " + path + ": " + mistake.what());
        return problem{"internalError", "Something went wrong here; the log has it."};
    }
}

answer handle(server& server, const desk::moment& now, const request& request)
{
    return handle(server, now, request, all_routes());
}

} // namespace web
