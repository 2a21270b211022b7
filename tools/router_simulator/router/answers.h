// What the router answers to a request. No input or output: the messages are handed back, so that
// whoever sends them decides when and in which shape they go out.
//
// Every request is answered but one sort: commands without data (BK alone, BK with I, E, f, D or A,
// and TI) are confirmed by "ER" with code 00 and the mnemonic only to a client that has asked for
// it by BK E ON. What is not understood is answered by "ER" with one of the codes below.
#pragma once

#include <vector>

#include "router_simulator/router/state.h"

namespace router_simulator {

constexpr const char* NO_ERROR = "00"; // also the answer to QD when nothing has changed
constexpr const char* UNKNOWN_REQUEST = "01";
constexpr const char* BAD_PARAMETERS = "02";
constexpr const char* NO_SUCH_DESTINATION = "03";
constexpr const char* NO_SUCH_SOURCE = "04";
constexpr const char* NO_SUCH_LEVEL = "05";

// Carries the request out and returns what is to be sent, in order: the answer to the client, which
// must be one of the router's, then announcements.
std::vector<addressed_message> answer_request(simulated_router& router, int client,
                                              const router_message& request);

// What answers a frame that is no good one.
router_message make_nak(std::int32_t code);

} // namespace router_simulator
