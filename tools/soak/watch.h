// What the parent and the router's lines say, entered into the ledgers: records and diagnostics of
// the backend, events of the simulated router.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "parent/record.h"
#include "soak/conduct.h"
#include "soak/event_line.h"
#include "soak/reply_ledger.h"
#include "soak/report_ledger.h"
#include "soak/route_ledger.h"

struct link_watch {
    bool up = false; // connected, and the router has been learnt
    int client = 0;  // the simulated router's number for the connection made last
    int misled = -1; // the connection on which names were spoilt
    std::uint64_t connections = 0;
};

struct soak_watch {
    parent_conduct conduct;
    reply_ledger replies;
    report_ledger reports;
    route_ledger routes;
    link_watch link;
    std::map<std::string, std::uint64_t> events;     // of the simulated router, by what
    std::map<std::string, std::uint64_t> complaints; // lines of NOTE, WARN and ERR
    std::vector<std::string> faults;                 // what must not be
};

void take_event(soak_watch& watch, const event_line& event, us_time_t now);
void take_record(soak_watch& watch, const ParentRecord& record, us_time_t now);
void take_diagnostics(soak_watch& watch, const std::string& line, us_time_t now);

// Judges what should be known by now; to be called again and again. `reading`: the parent reads.
void judge(soak_watch& watch, bool reading, us_time_t now);

// Whether nothing is open any more: every command answered, every route known.
bool all_settled(const soak_watch& watch);
