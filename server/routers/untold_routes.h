// Routes that a router has told and no record of its backend has brought: the backend throws away
// what waits when it begins a status cycle, and passes over a source that the router has no name
// for. What is known by the frames alone becomes no fact, but for no source (desk/trace.h); it
// tells that the fact is none any more.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "server/desk/moment.h"

namespace routers {

constexpr std::chrono::seconds REPORT_LIMIT{1}; // for a record to bring what the router has told

struct untold_route {
    int source = 0;
    desk::monotonic since{}; // told first
};

struct untold_routes {
    std::map<int, untold_route> routes; // by destination
    std::optional<desk::monotonic> due; // when to look whether one is overdue; none: never
};

void note_told(untold_routes& untold, desk::monotonic now, int destination, int source);
void note_reported(untold_routes& untold, const std::vector<std::pair<int, int>>& routes);

// When it is due: removes those that are overdue, destination and source. So it finds any once in
// REPORT_LIMIT at most.
std::vector<std::pair<int, int>> take_overdue(untold_routes& untold, desk::monotonic now);

} // namespace routers
