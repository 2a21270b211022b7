// The console on a terminal: line editing with history and completion, a pager for what is longer
// than the screen. What happens meanwhile is printed above the line that is being typed.
#pragma once

#include "console/session.h"

namespace console {

// Runs lines until "quit", the end of input, SIGTERM or SIGHUP. SIGINT empties the line or ends a
// list or a watch; the keyboard's stop, the shell's "fg" and another size of the window draw the
// line again. The session must catch SIGINT, SIGTERM, SIGHUP, SIGTSTP, SIGCONT and SIGWINCH.
void run_terminal(console_session& session);

} // namespace console
