// A router out of a backend's configuration file: read as the backend reads it, with a warning of
// each thing in it that the backend passes over or takes for something else without a word.
#pragma once

#include <string>
#include <vector>

#include "server/desk/house.h"

namespace console {

// Address, port and counts; the name is the file's without its ending, and the id is made of the
// name. Warnings are sentences with the file's path before them. False, with the reason, when the
// file cannot be read.
bool read_router_file(const std::string& path, desk::router_settings& router,
                      std::vector<std::string>& warnings, std::string& error);

// The name itself where it can be an id; else as much of it as can be, and what tells it from other
// names that leave the same.
std::string router_id(const std::string& name);

} // namespace console
