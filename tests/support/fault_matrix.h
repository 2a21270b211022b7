// The table of the fault matrix: which fault strikes the backend in which phase, how that is
// brought about, and what the backend logs then.
#pragma once

#include <string>
#include <vector>

using Lines = std::vector<std::string>;

enum class phase { connecting, discovery, idle, transaction, burst, query };

// What becomes of the connection, and with it what is logged.
enum class ending {
    stays,
    rambling,         // stays, with an over-long frame
    incomplete,       // stays, but discovery has had no answer about the destinations
    unanswered,       // a status request times out
    names_unanswered, // so does the request for new names; the rest of its cycle has no connection
    rambling_unanswered,
    mute, // discovery is not answered, and the status request behind it is not either
    closed,
    reset,
    refused, // reset, and refused for a while
};

struct matrix_fault {
    std::string name{}; // as the simulator has it: "half-open"
    std::string keys{}; // of a scenario's step, beside its trigger
};

struct matrix_cell {
    phase struck;
    ending end;
    std::string name;
    matrix_fault fault;
    matrix_fault lift; // of a fault that stays until it is lifted; else without a name
};

std::vector<matrix_cell> all_cells();

// The simulator's scenario for the cell, for a router with eight sources and eight destinations,
// both from 1. With the fault, another operator takes source 7 to destination 2 and renames
// destination 5 to STRUCK. What lifts the fault is a step named "lift".
std::string scenario_of(const matrix_cell& cell);

// Whether the backend has to connect anew.
bool is_lost(ending end);

// Whether it is its first connection that is refused; the simulator then refuses from its start.
bool is_refused_at_first(const matrix_cell& cell);

// What may be logged from the start to the end, identity and debugging lines aside, with one
// refused attempt in place of several. One alternative, except where it is a matter of moments.
std::vector<Lines> accepted_diagnostics(const matrix_cell& cell);

// Whether the line is one of what the router is, which discovery logs as the answers come.
bool tells_identity(const std::string& line);
Lines identity_lines(const matrix_cell& cell);

// The lines with one refused attempt in place of several: how often the router refuses depends on
// when the attempts fall.
Lines with_one_refusal(Lines lines);
