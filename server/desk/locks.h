// Locks and protects: they bind everyone who works through this desk. The router knows nothing of
// them.
#pragma once

#include <optional>
#include <string>

#include "server/desk/desk.h"

namespace desk {

// A new one, or the owner's own changed. Needs the right to operate the destination. `until` must
// be later than now.
objection set_lock(desk_state& desk, const moment& now, const actor& actor,
                   const std::string& router, int destination, lock_mode mode,
                   const std::string& reason_given, std::optional<wall> until);

// One's own. A foreign one is broken when `force` is set: that needs an engineer, and a reason; its
// owner gets a notice.
objection remove_lock(desk_state& desk, const moment& now, const actor& actor,
                      const std::string& router, int destination, bool force,
                      const std::string& reason_given);

// Whether the lock on this destination keeps the person from routing it: none, locked or
// protected_by_other.
reason lock_against(const house_router& router, int destination, const std::string& person);

} // namespace desk
