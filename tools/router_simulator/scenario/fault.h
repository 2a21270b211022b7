// What a row of the table of faults says.
#pragma once

#include <array>
#include <cstddef>
#include <random>

#include "router_simulator/wire/clients.h"

namespace router_simulator {

struct faulty_reply;
struct scenario_step;
struct simulator;

// The keys that a step's fault can have in the file, and how their values are read.
enum class fault_key {
    none,
    ms_range,    // "ms": [LEAST, MOST]
    ms,          // "ms": N
    cut_at,      // "at": [N, ...]
    code,        // "code": TEXT
    bytes,       // "bytes": N
    some_bytes,  // the same, at least 1
    messages,    // "messages": N
    rate,        // "rate": N
    seconds,     // "for": SECONDS
    inside,      // "inside": true, or without it
    destination, // "destination": N, or without it
    source,      // "source": N, or without it
    to,          // "to": TEXT, or without it
};

// What a fault that lasts ends with, at the latest.
enum class fault_span { moment, connection, listener };

struct fault_row {
    const char* name;
    std::array<fault_key, 3> keys{};
    fault_span span = fault_span::moment;
    stopped_actions stops{};   // while it lasts
    bool joins_others = false; // of a reply: is done beside another fault of the same reply
    bool prevents = false;     // of a reply: the request is not carried out
    bool only_delays = false;  // of a reply: all of it comes, and in its order
    bool of_routes = false;    // of a reply: to QI and TI alone, which show a source
    // What it does. Exactly one is given: to a reply, to a client, or once.
    void (*change_reply)(faulty_reply&, const scenario_step&, std::mt19937_64&) = nullptr;
    void (*strike_client)(simulator&, std::size_t step, int number) = nullptr;
    void (*strike_router)(simulator&, std::size_t step) = nullptr;
};

} // namespace router_simulator
