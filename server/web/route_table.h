// Which function answers which request: one table, from which also the API's description is
// checked.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "server/desk/actor.h"
#include "server/web/message.h"

namespace web {

struct server;
struct call;
struct answer;

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): in the order in which a row reads best
struct route {
    web::method method = method::get;
    std::string_view pattern; // "/api/v1/routers/{router}": a segment in braces stands for any one
    desk::right right =
        desk::right::none; // without it there, or anywhere, the answer is 403 at once
    std::string_view name; // the description's operationId
    answer (*handle)(server& server, const call& call) = nullptr;
    std::string_view parameters{}; // of the query, with blanks between; others are refused
    bool open = false;             // also to those who have not signed in
    bool acts = false;             // although it is a GET: there is no HEAD, which must not
};

struct route_match {
    const route* found = nullptr;
    std::vector<std::string> values; // of the segments in braces, in order
    std::string allowed; // "GET, HEAD, PUT" when the path is known but not with this method
};

// A pattern without braces goes before one with them. HEAD is answered as GET,
// where that does not act.
route_match find_route(std::span<const route> routes, const request& request);

} // namespace web
