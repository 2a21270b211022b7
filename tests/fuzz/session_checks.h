// What must hold of the backend whatever parent and router do.
#pragma once

// The bounds of the process-wide state and the descriptors. Between two passes of the main loop.
void check_state();

// What the parent has heard, against what it has said and what was logged. `complete`: everything
// has been read, handled and written; otherwise the session ended before.
void check_conversation(bool complete);
