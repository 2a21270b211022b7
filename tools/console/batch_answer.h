// The answer to a take of whatever kind, or to its dry run: what goes, what does not and why.
#pragma once

#include "console/answer.h"
#include "console/console_state.h"
#include "server/desk/takes.h"

namespace console {

struct batch_asked {
    desk::batch_kind kind = desk::batch_kind::take;
    bool rest = false;
    bool dry_run = false;
    desk::ulid of = {}; // the batch that is undone, taken again or rolled back
};

// As the desk has told just now. It has a batch when something is on its way.
answer batch_answer(const console_state& console, const desk::take_answer& told,
                    const batch_asked& asked);

} // namespace console
