// Sources and destinations of a router, as a person knows them.
#pragma once

#include <string>

#include "console/console_state.h"

namespace console {

struct position {
    int index = 0;
    std::string number; // as people see it
    std::string alias;  // empty: none
    std::string own;    // the router's name for it; empty: none
    std::string group;  // empty: in none
};

// The desk must have the router.
position position_at(const console_state& console, const std::string& router, desk::side side,
                     int index);

// How many can be routed; 0 while it is not known.
int routed_positions(const console_state& console, const std::string& router, desk::side side);

// How many there are, of which not all can be routed.
int all_positions(const console_state& console, const std::string& router, desk::side side);

const char* kind_of(desk::side side); // "source"

} // namespace console
