// The console on a terminal: line editing with history and completion. What the backend reports
// meanwhile is printed above the line that is being typed.
#pragma once

#include "console/session.h"

namespace console {

// Runs lines until "quit", the end of input, SIGTERM, SIGHUP or the backend's end. SIGINT empties
// the line. Takes over these three signals for good.
void run_terminal(console_session& session);

} // namespace console
