// The one TCP connection to the router: opened without blocking, retried at most every 5 seconds,
// closed by any failure and by 20 seconds without a frame. No operation here waits, but for the
// one millisecond of a progress check, and none dispatches parent records.
#pragma once

#include <cstddef>
#include <string>

#include "common/clock.h"
#include "router_link/message.h"

// Written here alone.
extern int router_fd;                  // -1: no connection
extern bool connect_in_progress;       // the connect has not completed; a close leaves it as it is
extern us_time_t next_connect_attempt; // no new attempt before this time
extern std::string router_tx_buffer;   // bytes for the router, not all written yet
extern std::size_t router_tx_offset;   // how many of them have been written

// Whether there is an established connection.
bool router_link_is_up();

// Starts an attempt when one is due and an address is set, and checks the progress of a pending
// one. A completed connection sets discovery_needed.
void connect_to_router();

// Progress check, receive, write, silence test: one step of each.
void service_router_connection();

// Forgets whatever was received in part or not yet sent. Messages received stay queued.
void close_router_connection();

// One read of at most 4096 bytes into the parser, none while the queue is full. End of stream and
// errors close the connection.
void receive_from_router();

// Queues the message and makes one write attempt. Returns false, with nothing queued, when there is
// no established connection or the message is too long. A failed write closes the connection and
// still returns true.
bool connection_sendmsg(const router_message& message);
