// One request to the router and its reply, which may span several messages, against a deadline.
#pragma once

#include <cstddef>
#include <vector>

#include "common/clock.h"
#include "router_link/message.h"

// Messages of one reply that are kept. A set of names or changes has at most one per index, which
// are 1024; a reply that never ends would otherwise fill the memory until its deadline.
constexpr std::size_t MAX_REPLY_MESSAGES = 4096;

// Sends the request and collects its reply into `response`, emptied first, in order of arrival.
// Messages that were queued before are thrown away. Serves the parent while it waits, so parent
// records may be handled before it returns: `response` must be the caller's own. Returns true when
// the reply ended before the deadline (absolute); its last message may be a NAK or an error reply.
// Returns false, with the connection closed and what had come in `response`, when the request could
// not be sent or the deadline passed.
bool do_timeout_send_and_recv(const router_message& request, std::vector<router_message>& response,
                              us_time_t deadline);

// Turns a routing-status report ("IQ") into a route change when it names an output and an input
// that the router has; logs every other message.
void handle_router_message(const router_message& message);
