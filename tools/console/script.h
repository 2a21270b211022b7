// The console without a terminal: commands from standard input, plain text on standard output.
#pragma once

#include "console/session.h"

namespace console {

// Waits until the router has reported its names and routes, for a limited time, then runs the lines
// until "quit", the end of input or the backend's end. At the end of input it waits for the routes
// that are still pending.
void run_script(console_session& session);

} // namespace console
