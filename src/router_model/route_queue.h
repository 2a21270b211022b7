// Route changes on their way to the router: staged by the parent's "add", pending after its
// "flush", sent as one burst in which only the last change per output survives. Bursts are spaced
// by their length, so that the router is never flooded; what cannot be sent for too long is
// dropped.
#pragma once

#include <deque>

#include "common/clock.h"
#include "router_model/state.h"

// Both oldest first, filled by the command handler. A queue time-out empties both.
extern std::deque<RouteChange> staged_route_changes;
extern std::deque<RouteChange> pending_route_changes;

// Written here alone. No burst is sent before the first; 0: nothing restricts an explicit flush,
// and no delayed one is sent. What is staged or pending at the second is dropped; 0: never.
extern us_time_t flush_allow_time;
extern us_time_t queue_timeout_time;

// Sends the pending changes as one burst, or leaves them pending when the link, a due discovery, an
// output count of 0 or the pacing forbids it. Dispatches parent records before each message.
void send_route_changes();

// The timer step: drops what has expired and sends a burst that was held back when its time has
// come. Called at the top of every pass of the main loop; may dispatch parent records.
void pace_route_changes();
