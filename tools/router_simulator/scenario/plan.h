// A plan of misbehaviour and how far it has got: steps, each a fault and when it is done. Plain
// state without input or output. Each step draws from a generator of its own, which starts from the
// seed and the step's position, so that what one step draws does not depend on the others.
#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "common/clock.h"

namespace router_simulator {

constexpr us_time_t NEVER = UINT64_MAX;

enum class fault_kind {
    // Of a reply.
    delay,
    lose,
    late,
    duplicate,
    reorder,
    checksum,
    nak,
    error,
    truncate,
    length,
    nul,
    cut,
    contradict,
    endless,
    // Of the connection.
    garbage,
    silence,
    half_open,
    stop_reading,
    close,
    reset,
    refuse,
    ignore,
    burst,
    take,
    rename,
};

// The name in files and event lines: "half-open".
const char* fault_name(fault_kind kind);
std::optional<fault_kind> fault_named(std::string_view name);
bool concerns_reply(fault_kind kind);

// What a fault that goes on is tied to, and ends with at the latest.
enum class fault_span { moment, connection, listener };
fault_span span_of(fault_kind kind);

enum class trigger_kind { command, at, every, connection, request };

struct number_range {
    std::uint64_t least = 0;
    std::uint64_t most = 0;
};

// One step as it was read; what its fault or trigger does not use keeps the default.
struct scenario_step {
    std::string name; // empty: none
    trigger_kind trigger = trigger_kind::command;
    us_time_t at_us = 0;
    number_range every_us;
    int connection = 0; // 0: any
    std::string request;
    bool answered = false; // the fault of the connection comes behind the request's answer
    std::uint64_t after = 0;
    std::optional<std::uint64_t> times; // nothing: as often as it comes
    double chance = 1;

    fault_kind fault = fault_kind::delay;
    number_range delay_us;
    us_time_t pause_us = 0;
    std::vector<std::size_t> cuts; // in rising order
    std::string code;
    std::size_t bytes = 0;
    std::uint64_t messages = 0;
    us_time_t interval_us = 0; // between two messages
    us_time_t for_us = 0;
    bool inside = false;
    std::optional<std::uint32_t> destination; // router indexes
    std::optional<std::uint32_t> source;
    std::string to;
};

struct step_state {
    std::mt19937_64 random;
    us_time_t due = NEVER; // since the start
    std::uint64_t passed_over = 0;
    std::uint64_t done = 0;
    bool ordered = false; // a reply's fault, told to be done at the next request
};

struct scenario {
    std::uint64_t seed = 0;
    std::vector<scenario_step> steps;
    std::vector<step_state> states; // one per step, by start_scenario
};

// Puts every step at its beginning.
void start_scenario(scenario& plan);

// From least to most, the same on every machine.
std::uint64_t draw(std::mt19937_64& random, number_range range);

// The steps that this brings, in the file's order; each counts as done. `elapsed` is the time since
// the start, `answered` whether the request has been. Of the faults of replies only `reply_steps`
// tells: the first that applies, and every delay.
std::vector<std::size_t> timed_steps(scenario& plan, us_time_t elapsed);
std::vector<std::size_t> connection_steps(scenario& plan, int client);
std::vector<std::size_t> request_steps(scenario& plan, std::string_view request, bool answered);
std::vector<std::size_t> reply_steps(scenario& plan, std::string_view request);

// The same for the command, whatever else is said of a step. A reply's fault waits for its next
// request. Returns nothing when no step has the name.
std::optional<std::vector<std::size_t>> named_steps(scenario& plan, const std::string& name);

// When the next timed step is due, since the start.
us_time_t next_timed_step(const scenario& plan);

} // namespace router_simulator
