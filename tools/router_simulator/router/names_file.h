// The file that sets the names of the router's sources, destinations and levels.
//
// A names file has one name a line, "kind,index,name": the kind is source, destination or level,
// the index is decimal as the router counts (its base included), the name is the rest of the line
// and may be empty. Blanks round a field do not count. A name in double quotes loses them and keeps
// its blanks, and "" within stands for one. Empty lines, lines that begin with # and the heading
// "kind,index,name" are passed over.
#pragma once

#include <istream>
#include <string>

#include "router_simulator/router/state.h"

namespace router_simulator {

// Gives the router the names of the file; ports that it does not mention keep theirs. False, with
// what is wrong in which line, "FILE:LINE: reason"; names before that line are then set.
bool read_names(simulated_router& router, std::istream& file, const std::string& file_name,
                std::string& error);
bool read_names_file(simulated_router& router, const std::string& path, std::string& error);

} // namespace router_simulator
