// What each fault makes of a reply. No input or output.
#pragma once

#include <random>
#include <vector>

#include "router_simulator/scenario/step.h"
#include "router_simulator/wire/clients.h"

namespace router_simulator {

// A reply on its way through its faults.
struct faulty_reply {
    simulated_router& router;
    int client = 0;
    const router_message& request;
    std::vector<router_message> messages{}; // as the router means them
    shaped_reply shaped{};                  // as they are sent
    router_event event{};                   // of the fault that is being done
};

// Each does the step's fault to the reply and adds to its event what there is to tell.
using reply_change = void(faulty_reply& reply, const scenario_step& step, std::mt19937_64& random);

reply_change delay_reply;
reply_change lose_reply;
reply_change send_late;
reply_change send_twice;
reply_change reorder_frames;
reply_change spoil_checksums;
reply_change reply_nak;   // the request must not have been carried out
reply_change reply_error; // likewise
reply_change truncate_frame;
reply_change change_length;
reply_change insert_nul;
reply_change cut_in_pieces;
reply_change contradict_route;
reply_change repeat_without_end;

} // namespace router_simulator
