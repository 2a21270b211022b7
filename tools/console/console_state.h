// What a console holds: a desk, the backends of its routers, who sits there, and what is remembered
// beside the desk because only a console shows it. One record, passed explicitly.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "server/desk/desk.h"
#include "server/routers/routers.h"

namespace console {

constexpr std::size_t HISTORY_KEPT = 5000; // entries; the oldest is forgotten

struct console_state {
    desk::desk_state desk;
    routers::running_routers running;
    desk::actor person; // may do everything
    std::string router; // the one that commands concern: always one of the desk's

    // By router: the last source but one that each destination was known to show.
    std::map<std::string, std::map<int, int>, std::less<>> before;
    std::map<std::string, std::map<int, int>, std::less<>> shown; // the last one
    std::deque<desk::entry> history;                              // oldest first
};

} // namespace console
