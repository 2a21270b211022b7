// The faults of the connection, and what a scenario brings with time. Nothing here waits.
#pragma once

#include <string>

#include "router_simulator/wire/clients.h"

namespace router_simulator {

// Does what has become due: timed steps, the ends of faults that last, messages of bursts, replies
// that were held back. Nothing without a scenario, but for what waits for its time to be sent.
void do_due_faults(simulator_server& server);

// When do_due_faults has something to do next, by the clock; NEVER when nothing is foreseen.
us_time_t next_due_fault(const simulator_server& server);

// Does what the scenario says of a client that has connected, and of a request that has come from
// it or has been answered, its reply aside. The client may be gone afterwards.
void do_connection_faults(simulator_server& server, int number);
void do_request_faults(simulator_server& server, int number, const std::string& request,
                       bool answered);

// Does the steps of this name. Returns "" or why not, a line.
std::string do_named_faults(simulator_server& server, const std::string& name);

// Begins to repeat the message to the client, as the step says.
void start_stream(simulator_server& server, std::size_t step, int number, const std::string& bytes);

} // namespace router_simulator
