// What may be routed by whom, whatever the router shows and locks hold.
#pragma once

#include <string>

#include "server/desk/actor.h"
#include "server/desk/desk.h"

namespace desk {

// How many can be routed: as the backend counts them, as the settings say before it has. The desk
// has the router.
int destinations_of(const desk_state& desk, const std::string& router);
int sources_of(const desk_state& desk, const std::string& router);

objection no_such_router(const std::string& router);

// The first of: no such router, no right to operate the destination.
objection check_right(const desk_state& desk, const actor& actor, const std::string& router,
                      int destination);

// The same, then: no such destination.
objection check_destination(const desk_state& desk, const actor& actor, const std::string& router,
                            int destination);

// The same, then: UNKNOWN_SOURCE is no wish, no such source. NO_SOURCE is one.
objection check_route(const desk_state& desk, const actor& actor, const route& wished);

// The first of: no such router, no right to change its settings.
objection check_engineer(const desk_state& desk, const actor& actor, const std::string& router);

} // namespace desk
