// The life of a wish from its acceptance to its end. For the desk's own files.
#pragma once

#include <string>

#include "server/desk/desk.h"

namespace desk {

// Opens the wish, which stands in the house, and returns whether its change is to be sent to the
// backend now. Not so when it is held: an open wish with another source stands between it and one
// with the same, so that their takes could not be told apart.
bool open_wish_for(desk_state& desk, const moment& now, const wish_id& id, const route& wished);

// Ends an open wish: the entry, the change, the next held one.
void end_wish(desk_state& desk, const moment& now, const wish_id& id, outcome end, reason why,
              const std::string& detail);

// Orders the end of the router's backend, once. Held wishes end at once, those that the backend
// holds when it has ended.
void end_backend(desk_state& desk, const moment& now, const std::string& router);

} // namespace desk
