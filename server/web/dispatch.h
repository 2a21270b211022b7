// From a request to its answer: whose it is, whether it may be, which handler has it.
#pragma once

#include <span>

#include "server/web/call.h"
#include "server/web/route_table.h"

namespace web {

// All routes of the server (routes.cpp).
std::span<const route> all_routes();

// Never throws: what goes wrong within a handler is a problem as well.
answer handle(server& server, const desk::moment& now, const request& request);

// The same with another table.
answer handle(server& server, const desk::moment& now, const request& request,
              std::span<const route> routes);

} // namespace web
