// Whether every route change that the backend says to have accepted is reported to the parent, and
// nothing else.
//
// A report holds all that was accepted since the one before, of each destination the last: so the
// reports cut the sequence of accepted changes into pieces, and each must equal its piece. Where
// a change repeats what was just reported, more than one cut is possible; all are followed. What is
// accepted and what is reported come on two pipes, so either may be seen first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>

#include "common/clock.h"

namespace soak {

// How long a report may wait for a status request, which lasts 13 s at most.
constexpr us_time_t LONGEST_LAG_US = 20'000'000;
// After a new beginning, reports of what went before are passed over for so long.
constexpr us_time_t FORGOTTEN_LASTS_US = 3'000'000;
// A report is judged so long after it was seen, when every change before it has been seen as well.
constexpr us_time_t REPORT_SETTLES_US = 4'000'000;
// In a flood, too many cuts are possible to follow.
constexpr std::size_t MOST_OPEN_CHANGES = 1000;

struct accepted_change {
    int destination = 0; // position
    int source = 0;
    us_time_t when = 0;
};

struct routing_report {
    std::map<int, int> routes; // source by destination
    us_time_t when = 0;
};

struct report_ledger {
    std::deque<accepted_change> changes; // not certainly reported
    std::deque<routing_report> reports;  // not yet matched
    std::set<std::size_t> cuts = {0};    // changes before one of these have been reported
    bool aligned = true;                 // clear: the next report may begin at any change
    us_time_t resumes = 0;               // until then reports are passed over
    std::uint64_t accepted = 0;
    std::uint64_t reported = 0;
    std::uint64_t reports_seen = 0;
    std::uint64_t judged = 0; // of these; the rest was passed over
};

void enter_accepted(report_ledger& ledger, int destination, int source, us_time_t now);
void enter_report(report_ledger& ledger, const std::map<int, int>& routes, us_time_t now);

// Judges nothing until a report is certainly of changes since now.
void forget_reports(report_ledger& ledger, us_time_t now);

// "", or a change that was not reported or a report without its changes; all of it is then
// forgotten. Floods are forgotten without a finding.
std::string find_wrong_report(report_ledger& ledger, us_time_t now);

} // namespace soak
