// A port of ours beside the router's, to which the parent sends the backend: whoever connects there
// has followed, and is sent away at once.
#pragma once

#include <cstdint>
#include <string>

#include "tools/common/descriptors.h"

namespace soak {

struct other_port {
    common::owned_descriptor listener; // does not block
    std::uint16_t number = 0;
};

// Listens on a free port of 127.0.0.1. False, with the reason, when there is none.
bool open_other_port(other_port& port, std::string& error);

// Whether somebody has connected since the last call.
bool was_visited(const other_port& port);

} // namespace soak
