// The receive parser: cuts the router's byte stream into frames, checks them and queues each good
// one as a router_message. It keeps its state between calls, so a frame may arrive in any number of
// pieces. Whatever is malformed is logged and dropped; the parser calls nobody.
#pragma once

#include <deque>
#include <string_view>

#include "common/clock.h"
#include "router_link/message.h"

enum class ParseState {
    Idle,      // waiting for a start byte
    InMessage, // inside a frame
    SkipToEnd, // discarding a bad frame up to its end byte
};

extern ParseState parse_state;          // written here alone
extern router_message incoming_message; // the frame being received; its raw collects the bytes

// Received messages, oldest first. Filled here, emptied by whoever waits for messages; survives a
// close of the connection.
extern std::deque<router_message> router_rx_queue;

// When the last frame was completed, good or bad; the connection also sets it when an attempt
// starts and while it does not read because the queue is full.
extern us_time_t last_router_activity;

// Runs the bytes of one read through the parser. They must be all that the read returned: the log
// of a frame with a NUL shows them.
void parse_router_bytes(std::string_view read_bytes);

// Forgets a frame received in part. Messages already queued stay.
void reset_receive_parser();
