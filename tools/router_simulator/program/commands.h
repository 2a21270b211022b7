// What a person can tell the running simulator, one command a line.
#pragma once

#include <string>

#include "router_simulator/program/server.h"

namespace router_simulator {

// The commands and what they do, for help on both sides. Ends with a newline.
extern const char* const COMMAND_HELP;

// Carries the command out and returns the text to show, which ends with a newline unless empty.
// What cannot be done is said in the text.
std::string run_command(simulator_server& server, const std::string& line);

} // namespace router_simulator
