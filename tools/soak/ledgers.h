// What the parent and the router's lines say, entered into the ledgers: records and diagnostics of
// the backend, events of the simulated router.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "parent/record.h"
#include "soak/proof_ledger.h"
#include "soak/reply_ledger.h"
#include "soak/report_ledger.h"
#include "soak/route_ledger.h"
#include "soak/router_event.h"

namespace soak {

// Names that were spoilt on the way, or cut short by a message that came between them, stay so for
// a while, and with them the positions of all that is reported.
struct link_state {
    bool up = false;               // connected, and the router has been learnt
    bool knows_inputs = false;     // all of their names
    bool knows_outputs = false;    // likewise
    us_time_t learnt = 0;          // when the last of these became true
    int client = 0;                // the simulated router's number for the connection made last
    int names_spoilt_on = -1;      // the connection on which names were spoilt
    std::uint64_t connections = 0; // that the router has accepted
};

struct ledgers {
    reply_ledger replies;
    report_ledger reports;
    route_ledger routes;
    proof_ledger proofs;
    link_state link;
    std::set<std::pair<std::string, int>> lasting;   // faults under way; their connection, 0: all
    std::map<std::string, std::uint64_t> events;     // of the simulated router, by what
    std::uint64_t faults = 0;                        // of these
    std::map<std::string, std::uint64_t> complaints; // lines of NOTE, WARN and ERR
    std::vector<std::string> findings;               // what must not be: the first of them
    std::uint64_t finding_count = 0;
};

// Nothing when the text is empty.
void note_finding(ledgers& books, const std::string& finding);

void enter_event(ledgers& books, const router_event& event, us_time_t now);
void enter_record(ledgers& books, const ParentRecord& record, us_time_t now);
void enter_diagnostics(ledgers& books, const std::string& line, us_time_t now);

// Judges what should be known by now; to be called again and again. `reading`: the parent reads.
void judge(ledgers& books, bool reading, us_time_t now);

// Whether nothing is open any more: every command answered, every route known.
bool all_settled(const ledgers& books);

} // namespace soak
