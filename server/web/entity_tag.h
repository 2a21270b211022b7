// Entity tags: of an answer as a whole, so that they differ whenever it does.
#pragma once

#include <span>

#include "server/web/call.h"
#include "server/web/route_table.h"

namespace web {

// To an answer 200 that has none yet; to a question it becomes 304 when that has this one already.
void add_entity_tag(const request& request, response& response);

// To the answer of a change: the tag of what GET answers at this address now.
void add_entity_tag(response& response, const json& present);

// False, with the problem, when the request has an `If-Match` and what is at its address is
// something else by now.
bool is_present(server& server, const call& call, std::span<const route> routes, problem& wrong);

} // namespace web
