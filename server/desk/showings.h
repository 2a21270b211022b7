// What a router has said that its destinations show, as the traffic tells, until a report of the
// backend has brought it: which of it a report is of. For the desk's own files.
#pragma once

#include "server/desk/desk.h"

namespace desk {

// The newest of the destination's. Keeps SHOWINGS_UNREPORTED of them.
showing note_showing(live_router& live, const moment& now, int destination, int source,
                     bool may_be_older);

// That a source was shown several times, nothing else between: what a report is of.
struct reported_run {
    int source = UNKNOWN_SOURCE;
    std::uint64_t first = 0; // their numbers
    std::uint64_t last = 0;
    bool told = true;          // by the traffic
    bool may_be_older = false; // one of them
};

// The first that the report may be of. Those before it are reported no more: a backend that hears
// several in one pass reports the last. What the traffic does not tell comes after all of it.
reported_run take_reported(live_router& live, const moment& now, const route& shown);

// What was reported before it may be what is shown, until it is said again; not for longer than
// LATE_LIMIT, in which a backend has asked for everything again.
bool is_doubtful(const fact& fact, const moment& now);

// The source of the newest; of the last report when that has brought all. UNKNOWN_SOURCE: nothing
// has been said over this connection.
int source_told(const live_router& live, const moment& now, int destination);

// Whether nothing but this source waits to be reported.
bool is_settled(const live_router& live, const moment& now, int destination, int source);

// Whether another source waits to be reported, and this one once more after that.
bool has_come_back(const live_router& live, const moment& now, int destination, int source);

} // namespace desk
