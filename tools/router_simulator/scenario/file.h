// The file that tells the simulator how to misbehave; docs/scenarios.md describes it.
#pragma once

#include <string>

#include "router_simulator/router/state.h"
#include "router_simulator/scenario/step.h"

namespace router_simulator {

// Reads the scenario from the text, for a router of this size, and puts it at its beginning. False,
// with what is wrong, "FILE:LINE: reason"; the scenario is then of no use.
bool read_scenario(scenario& plan, const std::string& text, const simulated_router& router,
                   const std::string& file_name, std::string& error);
bool read_scenario_file(scenario& plan, const std::string& path, const simulated_router& router,
                        std::string& error);

} // namespace router_simulator
