// Routes that a router has told and no record of its backend has brought: the backend throws away
// what waits when it begins a status cycle, and passes over a source that the router has no name
// for. What is known by the frames alone becomes no fact, but for no source (desk/trace.h); it
// tells that the fact is none any more. So does a query that has not been answered, or with a
// refusal: a backend asks because something has changed, and does not ask twice.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "server/desk/house.h"
#include "server/desk/moment.h"

namespace routers {

constexpr std::chrono::seconds REPORT_LIMIT{1}; // for a record to bring what the router has told
constexpr std::chrono::seconds ASK_AGAIN{10};   // after a query without an answer, and the next

struct untold_route {
    int source = 0;
    desk::monotonic since{}; // told first
};

struct untold_routes {
    std::map<int, untold_route> routes;        // by destination
    std::map<int, desk::monotonic> unanswered; // queries, by destination: when they are overdue
    std::optional<desk::monotonic> due;        // when to look whether one is overdue; none: never
};

void note_told(untold_routes& untold, desk::monotonic now, int destination, int source);
void note_unanswered(untold_routes& untold, desk::monotonic now, int destination);
void note_reported(untold_routes& untold, const std::vector<std::pair<int, int>>& routes);

// When it is due: removes those that are overdue, destination and source, UNKNOWN_SOURCE where a
// query was not answered; that is overdue again after ASK_AGAIN, until the router tells of the
// destination. So it finds any once in REPORT_LIMIT at most.
std::vector<std::pair<int, int>> take_overdue(untold_routes& untold, desk::monotonic now);

} // namespace routers
