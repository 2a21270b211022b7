// Routers as answers and live messages have them.
#pragma once

#include "server/web/json.h"
#include "server/web/server.h"

namespace web {

// The process that speaks with it. Null before it has been started.
const routers::backend* find_backend(const server& server, const std::string& router);

// Router, with its Link and Identity. The desk has the router.
json router_json(const server& server, const std::string& router);

// Link: the state, why it is not ready, since when, and how far the reading is.
json link_json(const server& server, const std::string& router);

// Routers: those that may be viewed with these rights.
json routers_json(const server& server, const desk::rights& may);

} // namespace web
