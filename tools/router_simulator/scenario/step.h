// A scenario: steps, each a fault and when it is done, and how far each has got. Plain records
// without input or output.
#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "router_simulator/wire/output_queue.h"

namespace router_simulator {

struct fault_row; // of the table of faults

enum class trigger_kind { command, at, every, connection, request };

struct number_range {
    std::uint64_t least = 0;
    std::uint64_t most = 0;
};

// One step as it was read; what its fault or trigger does not use keeps the default.
struct scenario_step {
    std::string name; // empty: none
    bool begins_off = false;
    trigger_kind trigger = trigger_kind::command;
    us_time_t at_us = 0;
    number_range every_us;
    int connection = 0; // 0: any
    std::string request;
    bool answered = false; // the fault of the connection comes behind the request's answer
    std::uint64_t after = 0;
    std::optional<std::uint64_t> times; // nothing: as often as it comes
    double chance = 1;

    const fault_row* fault = nullptr; // never null in a step that was read
    number_range delay_us;
    us_time_t pause_us = 0;
    std::vector<std::size_t> cuts; // in rising order
    std::string code;
    std::size_t bytes = 0;
    std::uint64_t messages = 0;
    us_time_t interval_us = 0; // between two messages
    us_time_t for_us = NEVER;
    bool inside = false;
    std::optional<std::uint32_t> destination; // router indexes
    std::optional<std::uint32_t> source;
    std::optional<std::string> to;
};

struct step_state {
    std::mt19937_64 random;
    us_time_t due = NEVER; // since the start
    std::uint64_t passed_over = 0;
    std::uint64_t done = 0;
    bool off = false;     // done by its name alone
    bool ordered = false; // a reply's fault, told to be done at the next request
};

struct scenario {
    std::uint64_t seed = 0;
    std::vector<scenario_step> steps;
    std::vector<step_state> states; // one per step, by start_scenario
};

} // namespace router_simulator
