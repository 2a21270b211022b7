// Learns, right after a connection has been established, what the router is and has: identity,
// levels, sources, destinations and the routing of every output.
#pragma once

#include <vector>

#include "router_link/message.h"

// Runs one discovery to its end: at most 6 s for messages that were there before and 6 s for the
// answers, besides those that have come by then and what the parent records handled in between
// take. Called by the main loop alone, which clears discovery_needed afterwards. Dispatches parent
// records all along. Returns early, with the connection closed, when there is no established one,
// when a request cannot be sent or when quit_requested is set. A router that does not answer in
// time keeps its last known tables.
void run_discovery();

// Rebuilds router_levels and level_mask from a complete set of level answers. Their parameters are
// "L", the number of entries in hexadecimal, then per entry three: name, level number
// (hexadecimal), one that is not used.
void update_levels_info(const std::vector<router_message>& answers);
