// The periodic status request: the router is asked what has changed, 350 ms after it was asked
// last, as soon as the main loop's wait ends: twice a second in an idle process. It keeps the
// connection from falling silent and catches changes that the router did not announce.
#pragma once

#include "common/clock.h"

// When the next request is due; 0: none is scheduled, as before the first discovery. Armed by
// discovery, re-armed here.
extern us_time_t next_status_request;

// Messages stand in the queue because handling them has met its bound. The next call goes on with
// them, so the main loop does not wait meanwhile. Written here alone.
extern bool drain_interrupted;

// Runs a status cycle when one is due on an established connection, then handles the messages that
// wait in the queue, at most 4096 of them; where that was not all, the following calls only go on
// with it, whatever has become of the connection. Both dispatch parent records; a cycle waits for
// the router, 13 s at most. Called once per pass of the main loop.
void periodic_status_request();
