// What the parent does to prove that nothing was lost: queries of all outputs, takes, floods and
// changes of the router's port. What a disturbance strikes proves nothing.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/clock.h"
#include "soak/route_ledger.h"

namespace soak {

struct proof_query {
    std::string id; // "" when none is under way
    us_time_t sent = 0;
    us_time_t answered = 0; // 0: not yet
};

struct proof_take {
    std::string id;  // of the flush
    int output = -1; // -1 when none is under way
    int input = -1;
    us_time_t sent = 0;
    bool made = false;     // by the router
    bool reported = false; // to the parent
};

struct proof_ledger {
    proof_query query;
    proof_take take;
    std::string flood_id; // of the last command of a flood, "" when all are answered

    // What was proved.
    std::uint64_t queries = 0;
    std::uint64_t takes = 0; // made and reported
    std::uint64_t floods = 0;
    std::uint64_t port_changes = 0; // the backend has connected to the other port
};

// Returns whether the reply with this id belongs to a query or a take that is to prove something.
bool note_proof_reply(proof_ledger& proofs, const std::string& id, us_time_t now);

// The router has made a take for a client.
void note_take_made(proof_ledger& proofs, int output, int input);

// This route has been reported to the parent.
void note_take_reported(proof_ledger& proofs, int output, int input);

// Judges what is under way: "", or what was not done although nothing disturbed it. A query that
// nothing disturbed is entered into the routes.
std::string judge_proofs(proof_ledger& proofs, route_ledger& routes, us_time_t now);

// What a run claims to prove and has not proved once, a line each.
std::vector<std::string> missing_proofs(const proof_ledger& proofs, std::uint64_t connections);

} // namespace soak
