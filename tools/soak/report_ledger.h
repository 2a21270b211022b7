// Whether every route change that the backend says to have accepted is reported to the parent, and
// nothing else. One report may stand for several changes of a destination: it shows the last. What
// is accepted and what is reported come on two pipes, so either may be seen first.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>

#include "common/clock.h"

// How long one side may be ahead of the other: many times what a pass takes.
constexpr us_time_t LONGEST_LAG_US = 10'000'000;

struct reported_route {
    int source = -1;
    us_time_t when = 0;
};

struct destination_reports {
    std::deque<int> accepted;               // not yet matched by a report, oldest first
    std::deque<reported_route> unexplained; // reported, not yet seen accepted
    us_time_t last_accepted = 0;            // when
    int last_reported = -1;
};

struct report_ledger {
    std::map<int, destination_reports> destinations; // by position
    std::uint64_t accepted = 0;
    std::uint64_t reported = 0;
};

void take_accepted(report_ledger& ledger, int destination, int source, us_time_t now);
void take_reported(report_ledger& ledger, int destination, int source, us_time_t now);

// The parent itself did not read until now.
void restart_lags(report_ledger& ledger, us_time_t now);

// "", or a change that was not reported or a report without a change; it is then forgotten.
std::string take_report_fault(report_ledger& ledger, us_time_t now);
