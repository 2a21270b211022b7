// The console without a terminal: one command, or commands from standard input. Each runs when the
// one before has ended.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "console/session.h"

namespace console {

// Runs the lines until "quit", the end of input or a signal. First it waits for the router, and
// says when that is not ready in time.
void run_script(console_session& session, std::chrono::milliseconds wait_ready);

// Runs one command when the router is ready; not at all when that takes too long, but for "help".
void run_single(console_session& session, const std::vector<std::string>& words,
                std::chrono::milliseconds wait_ready);

} // namespace console
