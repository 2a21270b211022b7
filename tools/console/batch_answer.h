// The answer to a take of whatever kind, or to its dry run: what goes, what does not and why.
#pragma once

#include "console/answer.h"
#include "console/console_state.h"
#include "server/desk/takes.h"

namespace console {

// As the desk has told just now. It has a batch when something is on its way.
answer batch_answer(const console_state& console, const desk::take_answer& told,
                    desk::batch_kind kind, bool dry_run);

} // namespace console
