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

// Orders the end of a backend that holds wishes, once.
void end_backend_with_wishes(desk_state& desk, const std::string& router);

} // namespace desk
