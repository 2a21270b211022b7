// What a person can tell the running simulator, a line at a time.
#pragma once

#include <string>

#include "router_simulator/scenario/simulator.h"

namespace router_simulator {

// The commands and what they do, for help on both sides. Ends with a newline.
extern const char* const COMMAND_HELP;

// Carries the line's commands out and returns the text to show, which ends with a newline unless
// empty. What cannot be done is said in the text.
std::string run_commands(simulator& simulated, const std::string& line);

} // namespace router_simulator
