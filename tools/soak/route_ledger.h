// What the router really shows on each destination, held against what is reported to the parent.
//
// A change made while nothing is disturbed must be known soon, by polling alone. Faults, and
// requests of our own that cross the polling, can cost the answer that would have shown it; such a
// change must be known after the next undisturbed query of all outputs. Polling may overtake that
// query's answers and throw them away, so three of them must have failed. Of a destination without
// a source no report can tell; what was reported before may be repeated.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "common/clock.h"

namespace soak {

constexpr us_time_t POLLING_MUST_SHOW_US = 5'000'000; // a dozen cycles
constexpr us_time_t DISTURBANCE_LASTS_US = 1'000'000;
constexpr int QUERIES_THAT_MAY_FAIL = 2;

// "output 3 input 5", as findings name a route.
std::string route_text(int destination, int source);

struct shown_route {
    int source = -1;
    us_time_t since = 0;
};

struct destination_state {
    int reported = -1; // source that was reported last, -1: nothing yet
    bool known = true; // the parent knows what the router shows
    us_time_t unknown_since = 0;
    bool disturbed = false;        // a disturbance struck since then
    int failed_queries = 0;        // since then
    bool disconnected = false;     // shows no source: the parent has nothing to know
    std::deque<shown_route> shown; // by the router, the current one last, and for two minutes back
};

struct reported_route {
    int destination = 0;
    int source = 0;
    us_time_t when = 0;
};

struct route_ledger {
    std::vector<destination_state> destinations; // by position
    std::deque<reported_route> unproved;         // to be held against what the router showed
    us_time_t last_disturbance = 0;
    std::uint64_t changes = 0;
    std::uint64_t known_by_polling = 0; // of the changes; the rest was overtaken by another one
    std::uint64_t known_by_query = 0;
};

// A router on which each destination shows the source of its own position.
route_ledger make_route_ledger(int destinations, us_time_t now);

// A source below 0: none.
void router_shows(route_ledger& ledger, int destination, int source, us_time_t now);
// The router says so once although it is not true.
void router_claims(route_ledger& ledger, int destination, int source, us_time_t now);
void note_reported(route_ledger& ledger, int destination, int source, us_time_t now);
// The same while the backend has been given wrong names, and with them wrong positions.
void note_doubtful_report(route_ledger& ledger, int destination, int source, us_time_t now);
void note_disturbance(route_ledger& ledger, us_time_t now);
bool undisturbed_since(const route_ledger& ledger, us_time_t time);

// An undisturbed query of all outputs, sent at this time, has been answered.
void note_query(route_ledger& ledger, us_time_t sent);

// Whether every destination is known.
bool all_known(const route_ledger& ledger);

// "", or a change that the parent does not know, or a report of what never was; it then
// counts as known.
std::string find_wrong_route(route_ledger& ledger, us_time_t now);

} // namespace soak
