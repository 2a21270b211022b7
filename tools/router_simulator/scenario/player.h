// Plays the scenario: does its steps, and what they leave to be done later. Nothing here waits.
#pragma once

#include <string>
#include <string_view>

#include "router_simulator/scenario/simulator.h"

namespace router_simulator {

// Begins the scenario, whose times count from now.
void begin_scenario(simulator& simulated, const scenario& plan);

// Does what has become due: timed steps, the ends of faults that last, messages of bursts, replies
// that were held back. Nothing without a scenario, but for what waits for its time to be sent.
void do_due_steps(simulator& simulated);

// When do_due_steps has something to do next, by the clock; NEVER when nothing is foreseen.
us_time_t next_due(const simulator& simulated);

// Does what the scenario says of a client that has connected, and of a request that has come from
// it or has been answered, its reply aside. The client may be gone afterwards.
void do_connection_steps(simulator& simulated, int number);
void do_request_steps(simulator& simulated, int number, std::string_view request, bool answered);

// Does the steps of this name. False, with the reason, when there are none.
bool do_named_steps(simulator& simulated, const std::string& name, std::string& error);

// Switches them off, or on again. The same.
bool switch_named_steps(simulator& simulated, const std::string& name, bool off,
                        std::string& error);

} // namespace router_simulator
