// Which commands still wait for their reply. Each is answered exactly once, with the command and
// the error text that it must have.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "common/clock.h"
#include "parent/record.h"

namespace soak {

// No reply may come longer after its command, and those before it, were done with: a flood may need
// its time. A status request serves the parent all the while, and nothing else waits for the router
// as long as its 13 s.
constexpr us_time_t LONGEST_ALLOWED_WAIT_US = 15'000'000;

struct expected_reply {
    std::string command;
    std::string error;
    bool reaches_router = false; // the command makes the backend talk to the router
    us_time_t sent = 0;
};

struct reply_ledger {
    std::map<std::string, expected_reply> open; // by id
    std::uint64_t sent = 0;
    std::uint64_t replied = 0;
    us_time_t longest_wait_us = 0;
    std::string oldest;         // the open command that was sent first, as last seen
    us_time_t oldest_since = 0; // it has been that
};

void expect_reply(reply_ledger& ledger, const std::string& id, const expected_reply& reply);

// The open command with this id, null when there is none.
const expected_reply* find_reply(const reply_ledger& ledger, const std::string& id);

// "", or what is wrong with the reply.
std::string enter_reply(reply_ledger& ledger, const ParentRecord& reply, us_time_t now);

// The parent itself did not read until now: no reply counts as late for that.
void restart_waits(reply_ledger& ledger, us_time_t now);

// "", or which command has waited for too long; that one is then forgotten. To be called again and
// again.
std::string find_overdue_reply(reply_ledger& ledger, us_time_t now);

} // namespace soak
