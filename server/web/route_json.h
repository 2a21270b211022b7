// What destinations show, and what is wished for them, in JSON.
#pragma once

#include <string>

#include "server/web/json.h"
#include "server/web/server.h"

namespace web {

// `changed` and `by`: since when the destination shows its source, and by whose wish. What is not
// known is left out; `by` is null when it was nobody's here.
void add_author(json& to, const server& server, const std::string& router, int destination);

// OpenWish, null when no wish is open; RouteProblem, null when there is none. The desk has the
// router, here and below.
json wish_json(const server& server, const std::string& router, int destination);
json route_problem_json(const server& server, const std::string& router, int destination);

// Route.
json route_json(const server& server, const std::string& router, int destination);

} // namespace web
