// Takes whose wishes have ended and that the router may still carry out: nobody else is named for
// what they do. For the desk's own files.
#pragma once

#include <optional>
#include <vector>

#include "server/desk/desk.h"

namespace desk {

// Their sources, by what was reported last.
std::vector<int> unshown_takes(const live_router& live, const moment& now, int destination);

// One more of them; those that can be carried out no more are forgotten, and the oldest when there
// are TAKES_UNSHOWN.
void note_unshown(live_router& live, const moment& now, int destination, const unshown_take& take);

// Those that were sent over the connection, of any source unless one is given: it, or what was sent
// after them, has been shown.
void forget_unshown(live_router& live, int destination, std::uint32_t connection,
                    std::optional<int> source = std::nullopt);

} // namespace desk
