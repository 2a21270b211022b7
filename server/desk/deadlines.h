// What the desk does when time passes.
#pragma once

#include <optional>

#include "server/desk/desk.h"

namespace desk {

// When the desk wants to be told of the time next; none when nothing is due ever.
std::optional<monotonic> next_due(const desk_state& desk, const moment& now);

// Ends what has waited too long: wishes, locks, deleted salvos.
void advance(desk_state& desk, const moment& now);

} // namespace desk
