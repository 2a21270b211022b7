// What a fault makes of a reply. No input or output: the bytes and their pauses are handed back.
#pragma once

#include <random>
#include <string>
#include <vector>

#include "router_simulator/router/state.h"
#include "router_simulator/scenario/plan.h"

namespace router_simulator {

struct reply_piece {
    us_time_t pause_us = 0; // after the piece before
    std::string bytes;
};

struct shaped_reply {
    std::vector<reply_piece> pieces; // in order; none when nothing is sent
    us_time_t late_us = 0;           // not 0: so much later, and others may pass
    bool behind_next = false;        // behind the client's next reply
};

// A reply without fault, each message its frame.
shaped_reply plain_reply(const std::vector<router_message>& messages);

// The same under the step's fault, which is one of a reply. Of "endless" nothing is sent here.
shaped_reply faulty_reply(const scenario_step& step, std::mt19937_64& random,
                          const std::vector<router_message>& messages);

// Whether the router refuses the request in place of carrying it out, and the reply then.
bool refuses_request(fault_kind kind);
router_message refusal(const scenario_step& step, std::string_view mnemonic);

// Makes every routing status among the messages show another source than the one that is routed;
// for the reply to a take, adds one that does. Returns what is shown, nothing where the router has
// no other source.
std::optional<made_take> contradict(const simulated_router& router, std::mt19937_64& random,
                                    const router_message& request,
                                    std::vector<router_message>& messages);

} // namespace router_simulator
