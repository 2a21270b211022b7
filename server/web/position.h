// What an address names: a router, a source or a destination of it.
#pragma once

#include <optional>
#include <string>

#include "server/web/call.h"

namespace web {

// The router of the path's first segment in braces. Null, with the problem, when there is none.
const desk::house_router* find_router(const server& server, const call& call, problem& wrong);

// How many can be routed, as the router's process counts them; before it has, the limit that is
// set. 0: not known. The desk has the router, here and below.
int routable_positions(const desk::desk_state& desk, const std::string& router, desk::side side);

// How many there are: those, and what the router has named.
int all_positions(const desk::desk_state& desk, const std::string& router, desk::side side);

// By a number, the first is 0, or by the name: an alias, before all the router's own names. None,
// with the problem: there is no such position, or several have this name.
std::optional<int> find_position(const server& server, const std::string& router, desk::side side,
                                 const std::string& text, bool by_name, problem& wrong);

// Of the path's first two segments in braces, the second read as the parameter `by` says.
std::optional<int> find_position(const server& server, const call& call, desk::side side,
                                 problem& wrong);

} // namespace web
