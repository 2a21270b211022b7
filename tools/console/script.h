// The console without a terminal: commands from standard input.
#pragma once

#include "console/session.h"

namespace console {

// Runs the lines until "quit" or the end of input, each command when the one before has ended.
void run_script(console_session& session);

} // namespace console
