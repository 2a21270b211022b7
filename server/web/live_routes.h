// Routes as they are told live: compactly.
#pragma once

#include <set>
#include <string>

#include "server/web/json.h"
#include "server/web/server.h"

namespace web {

// Destinations that are known to show something, but not on the present link.
std::set<int> stale_destinations(const desk::live_router& live);

// LiveRoutes and RouteTuple of the API's description.
json live_routes(const server& server, const std::string& router);
json live_route(const server& server, const std::string& router, int destination);

} // namespace web
