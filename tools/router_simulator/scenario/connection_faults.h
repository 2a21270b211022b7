// The faults that do not concern a reply. Nothing here waits.
#pragma once

#include "router_simulator/scenario/simulator.h"

namespace router_simulator {

// Each does the fault of the scenario's step: those of a client to the one of this number, which
// may be gone afterwards; those of the router, and of its operator, once.
using client_fault = void(simulator& simulated, std::size_t step, int number);
using router_fault = void(simulator& simulated, std::size_t step);

client_fault send_garbage;
client_fault end_stream;
client_fault reset_connection;
client_fault start_burst;
client_fault stop_actions; // those of the fault's row, for its time

router_fault refuse_connections;
router_fault make_take;
router_fault make_rename;
router_fault lock_destination;
router_fault unlock_destination;
router_fault refuse_take;
router_fault allow_take;

// Begins to repeat the frame to the client, as the step says; "" for a burst.
void start_stream(simulator& simulated, std::size_t step, int number, const std::string& bytes);

// Has the fault go on for the step's time, for the client or for all that connect.
void start_lasting(simulator& simulated, std::size_t step, int number);

// Brings what each client and the listener do in line with the faults that last.
void apply_lasting(simulator& simulated);

// Tells that the fault begins, or ends, for the client; ALL_CLIENTS: not for a client of its own.
void print_start(const simulator_server& server, const fault_row& fault, int number);
void print_end(const simulator_server& server, const fault_row& fault, int number);

} // namespace router_simulator
