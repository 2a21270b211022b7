// How the parent behaves: busy for a while, with random commands, now and then a flood, a pause in
// its own reading or a change of the router's port; then calm, when a query of all outputs and one
// take prove that nothing was lost.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "parent_link/parent_link.h"
#include "soak/random_commands.h"
#include "soak/reply_ledger.h"
#include "soak/route_ledger.h"

namespace soak {

// A query of all outputs that proves what the parent knows, if nothing disturbs it.
struct proof_query {
    std::string id; // "" when none is under way
    us_time_t sent = 0;
    us_time_t answered = 0; // 0: not yet
};

// A take that the router must make and the parent must be told of, if nothing disturbs it.
struct proof_take {
    std::string id;  // of the flush
    int output = -1; // -1 when none is under way
    int input = -1;
    us_time_t sent = 0;
    bool made = false;
};

struct random_parent {
    std::mt19937_64 random;
    std::string port; // the router's
    std::uint64_t last_id = 0;
    bool calm = false;
    int busy_phases = 0;
    us_time_t phase_began = 0;
    us_time_t phase_ends = 0;
    us_time_t next_command = 0;
    us_time_t reads_again = 0;  // while the link does not read
    us_time_t port_returns = 0; // 0: the right one is set
    bool queried = false;       // in this phase
    bool taken = false;         // in this phase
    proof_query query;
    proof_take take;
    std::uint64_t proved_queries = 0;
    std::uint64_t proved_takes = 0;
};

// What the parent acts on.
struct parent_tools {
    parent_link::backend_link& backend;
    reply_ledger& replies;
    route_ledger& routes;
};

// Says whatever is due now. `link_up`: the backend is connected and has learnt the router.
void act(random_parent& parent, const parent_tools& tools, bool link_up, us_time_t now);

// Reads again and sets the right port: the end of random parent.
void stop_acting(random_parent& parent, const parent_tools& tools, us_time_t now);

// A query, however busy the parent is, unless one is under way.
void send_proof_query(random_parent& parent, const parent_tools& tools, us_time_t now);

// Returns whether the reply with this id belongs to a proof.
bool note_proof_reply(random_parent& parent, const std::string& id, us_time_t now);
void note_take(random_parent& parent, int output, int input);

// Judges what is under way: "", or what was not proved although nothing disturbed it.
std::string judge_proofs(random_parent& parent, route_ledger& routes, us_time_t now);

} // namespace soak
