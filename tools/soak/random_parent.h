// How the parent behaves: busy for a while, with random commands, now and then a flood, a pause in
// its own reading or a change of the router's port; then calm, when a query of all outputs and one
// take prove that nothing was lost.
#pragma once

#include <cstdint>
#include <random>
#include <string>

#include "parent_link/parent_link.h"
#include "soak/ledgers.h"

namespace soak {

// In so many seconds all that a parent does has happened at least once, if the router stays for a
// second. The rest of the time it happens at random.
constexpr unsigned LEAST_SECONDS = 60;

struct random_parent {
    std::mt19937_64 random;
    std::string port;       // the router's
    std::string other_port; // where the backend is sent now and then
    std::uint64_t last_id = 0;
    bool calm = false;
    int busy_phases = 0;
    us_time_t phase_began = 0;
    us_time_t phase_ends = 0;
    us_time_t next_command = 0;
    us_time_t reads_again = 0;  // while the parent does not read
    us_time_t port_returns = 0; // at the latest; 0: the right one is set
    bool leaves_router = false; // as soon as the backend knows it
    bool queried = false;       // in this phase
    bool taken = false;         // in this phase
};

// Says whatever is due now and enters it into the ledgers.
void act(random_parent& parent, parent_link::backend_link& backend, ledgers& books, us_time_t now);

// The backend has connected to the other port. That proves a change of port when it was sent there.
void note_visit(random_parent& parent, ledgers& books, us_time_t now);

// Reads again and sets the right port: the end of random behaviour.
void stop_acting(random_parent& parent, parent_link::backend_link& backend, ledgers& books,
                 us_time_t now);

// Says what is needed to settle what is open, and to prove a query and a take. Returns whether
// nothing is.
bool settle(random_parent& parent, parent_link::backend_link& backend, ledgers& books,
            us_time_t now);

} // namespace soak
