// Putting back what a batch has changed. It refuses to guess: a row goes back only while its
// destination is known to show what this batch put there, what it showed before is known, and the
// actor may route it.
#pragma once

#include <string>
#include <vector>

#include "server/desk/desk.h"
#include "server/desk/takes.h"

namespace desk {

// What there is to undo or to redo, in the order in which it would be: newest first.
std::vector<const undo_step*> undo_steps(const house& house, const moment& now,
                                         const std::string& person);
std::vector<const undo_step*> redo_steps(const house& house, const moment& now,
                                         const std::string& person);

// The person's newest step that is not older than UNDO_AGE; nothing_to_do when there is none. A dry
// run tells what would happen, row by row. The step is used up when a row goes or the rule is
// `rest`; it can then be redone.
take_answer undo(desk_state& desk, const moment& now, const actor& actor,
                 const batch_command& command);
take_answer redo(desk_state& desk, const moment& now, const actor& actor,
                 const batch_command& command);

// The batch, which is still known, may have changed what a router shows.
bool may_have_changed(const house& house, const ulid& batch);

// Any batch that is still known, anybody's.
take_answer roll_back(desk_state& desk, const moment& now, const actor& actor, const ulid& batch,
                      const batch_command& command);

} // namespace desk
