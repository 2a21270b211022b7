// The routes of each router as text, written once and given to all who ask, for many ask often.
//
// Nothing in a text depends on who asks: whoever may view the router may have it. It holds until
// the router's next change of this destination (a fact, a lock, a wish), or one that may concern
// all (settings, link, names, labels), or until any person is set or removed, whose name it may
// have.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "server/web/server.h"

namespace web {

// Of the desk's changes, before they are emptied. Changes may be noted twice.
void note_route_changes(server& server);

// Route. The router has the destination, here and below.
const std::string& route_text(server& server, const std::string& router, int destination);

// Routes: all, or those that have changed since this revision of this instance, when that is known.
response routes_response(server& server, const std::string& router,
                         std::optional<std::uint64_t> since);

} // namespace web
