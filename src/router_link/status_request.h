// The periodic status request: about three times a second the router is asked what has changed.
// It keeps the connection from falling silent and catches changes that the router did not announce.
#pragma once

#include "common/clock.h"

// When the next request is due; 0: none is scheduled, as before the first discovery. Armed by
// discovery, re-armed here.
extern us_time_t next_status_request;

// Runs a status cycle when one is due on an established connection, then handles the messages that
// wait in the queue. Both dispatch parent records; a cycle waits for the router, 13 s at most.
// Called once per pass of the main loop.
void periodic_status_request();
