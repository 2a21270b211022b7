// One request to the router and its reply, which may span several messages, against a deadline.
#pragma once

#include <vector>

#include "common/clock.h"
#include "router_link/message.h"

// Sends the request and collects its reply into `response` in order of arrival. Messages that were
// queued before are thrown away. Serves the parent while it waits, so parent records may be handled
// before it returns. Returns true when the reply ended before the deadline (absolute); its last
// message may be a NAK or an error reply. Returns false, with the connection closed, when the
// request could not be sent or the deadline passed.
bool do_timeout_send_and_recv(const router_message& request, std::vector<router_message>& response,
                              us_time_t deadline);

// Turns a routing-status report ("IQ") into a route change when it names an output and an input
// that the router has; logs every other message.
void handle_router_message(const router_message& message);
