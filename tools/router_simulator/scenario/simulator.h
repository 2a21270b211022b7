// The simulator whole: its server, and the scenario that is played on it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "router_simulator/scenario/step.h"
#include "router_simulator/wire/clients.h"

namespace router_simulator {

// The clients that a fault is about when no trigger names one.
constexpr int ALL_CLIENTS = 0;

// A fault that goes on.
struct lasting_fault {
    const fault_row* fault = nullptr;
    int client = ALL_CLIENTS; // ALL_CLIENTS: the listener and whoever connects
    us_time_t until = NEVER;
};

// Messages that are sent one after the other, so many a second.
struct message_stream {
    std::size_t step = 0; // of the scenario
    int client = 0;
    std::string bytes; // the message; empty: the routing status of a random destination
    std::uint64_t left = 0;
    us_time_t due = 0;
};

struct simulator {
    simulator_server server;
    std::optional<scenario> plan{};
    std::vector<lasting_fault> lasting{};
    std::vector<message_stream> streams{};
    bool quit = false; // a command has asked for the end
};

} // namespace router_simulator
