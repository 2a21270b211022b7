// What is told of a router by whoever runs its backend: its link, counts, names and routes, and the
// end of its backend. Reports for a router that the desk does not have change nothing.
//
// A report must be told after the trace (trace.h) of what the router said to cause it.
#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "server/desk/desk.h"

namespace desk {

// Reaching `reading`, or `ready` from elsewhere, begins a connection: facts of an earlier one are
// stale until they are said again. Leaving `ready` while the backend holds changes orders its
// end.
void report_link(desk_state& desk, const moment& now, const std::string& router, link_state link,
                 const std::string& reason_given);

// Effective counts, 0 to ROUTED_POSITIONS; others are brought into that range.
void report_counts(desk_state& desk, const std::string& router, int inputs, int outputs);

// All names of one side, from position 0. Those beyond POSITIONS are left out.
void report_names(desk_state& desk, const std::string& router, side side,
                  std::vector<std::string> names);

// Destination and source, NO_SOURCE included, as the router has them. A destination beyond
// ROUTED_POSITIONS, or a source beyond POSITIONS, is passed over.
void report_routes(desk_state& desk, const moment& now, const std::string& router,
                   std::span<const std::pair<int, int>> routes);

// The router has told by now that the destination shows something else, which no report has
// brought: the fact is stale until it is reported again.
void doubt_fact(desk_state& desk, const std::string& router, int destination);

// It may be another router from now on: nothing that was shown is known any more, and what its
// backend still reports until it has ended is of the one before. Names and counts are known until
// then.
void forget_reports(desk_state& desk, const moment& now, const std::string& router);

// Nothing that the backend held can reach the router any more: what was queued ends as not sent,
// or, unless all traffic has been heard, as perhaps sent. Told after the trace of all that it said.
void report_backend_ended(desk_state& desk, const moment& now, const std::string& router,
                          bool heard_all = true);

} // namespace desk
