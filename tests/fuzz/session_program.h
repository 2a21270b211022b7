// The fuzzer's input as a little program: steps that say what the router and the parent do, what
// time passes between, and which calls fail. It is played while the backend runs, whenever it
// waits: its steps happen inside discovery, transactions and bursts as well as between them.
//
// A step is one byte, modulo the number of steps, and its operands, a byte each; a text is a byte
// of length and its bytes.
#pragma once

#include <string>

#include "common/clock.h"
#include "fuzz/fuzz_input.h"

struct session_program {
    fuzz_input input;
    us_time_t next_step_at = 0;
    us_time_t played_time = 0; // passed by its steps
    unsigned commands_sent = 0;
    unsigned queries = 0; // of them, those for the status of all outputs
    bool may_end = false; // the parent has become unreliable, or the backend has been told to end
    us_time_t must_end_by = UINT64_MAX;
};

extern session_program program;

// Lets everything happen that is due: steps and answers on their way. To be called at each wait.
void play_program();

// Whether no step is left.
bool program_is_over();

// A record with an identifier of its own: lines joined by newlines, the empty line is added.
void parent_commands(const std::string& lines);
