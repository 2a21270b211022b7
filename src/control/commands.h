// The parent's commands: what each record asks for is done, and answered where the protocol has an
// answer. Every bad input is answered or ignored; nothing is written to standard error.
#pragma once

#include "parent/record.h"

// Handles one record. A flush and an output status query serve the router and the parent, so this
// may run again inside itself, and the record, which is the channel's own, may be gone before it
// returns.
void handle_parent_record(ParentRecord& record);
