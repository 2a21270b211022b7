// The life of a wish from its acceptance to its end. For the desk's own files.
#pragma once

#include <string>

#include "server/desk/desk.h"

namespace desk {

// Opens the wish, which stands in the house, and returns whether its change is to be sent to the
// backend now. Not so when it is held: another wish for its source is queued, and their takes could
// not be told apart.
bool open_wish_for(desk_state& desk, const moment& now, const wish_id& id, const route& wished);

// Whether what is shown may be of a take before the wish's, as nothing of its own has been shown.
bool may_be_older(const open_wish& wish, int shown);

// Of a wish that has been sent to the router at another address, which nobody hears any more.
// Leaves no trouble: the router of now has no part in it.
void end_elsewhere(desk_state& desk, const moment& now, const wish_id& id);

// The same of all that have been sent.
void end_sent_elsewhere(desk_state& desk, const moment& now, const std::string& router);

// Null when it is not open.
open_wish* find_open(desk_state& desk, const wish_id& id);

// The queued wish's take has been sent: from now on it waits for its confirmation.
void mark_sent(desk_state& desk, const moment& now, const wish_id& id);

// Ends an open wish: the entry, the change, the next held one.
void end_wish(desk_state& desk, const moment& now, const wish_id& id, outcome end,
              const std::string& detail, reason why = reason::none);

// The same as not sent, for link_lost, not_sent_in_time and backend_ended.
void end_unsent(desk_state& desk, const moment& now, const wish_id& id, reason why);

// Whether its take was sent cannot be known any more.
void end_maybe_sent(desk_state& desk, const moment& now, const wish_id& id);

// A newer wish has taken its place.
void end_superseded(desk_state& desk, const moment& now, const wish_id& id, const wish_id& by);

// The router has said so, and shows this since; UNKNOWN_SOURCE: nothing. What nobody can tell is
// which of several answers was lost: its take may have been made all the same.
void end_refused(desk_state& desk, const moment& now, const wish_id& id, int shown);

// The router shows another source.
void end_contradicted(desk_state& desk, const moment& now, const wish_id& id, int shown);

// Ends the wishes for the source that has been shown, up to this showing, and older ones for
// another. False when there are none.
bool confirm_wishes(desk_state& desk, const moment& now, const std::string& router, int destination,
                    std::uint64_t newest, int source);

// Orders the end of the router's backend, once. Held wishes end at once, as not sent for the reason
// given; those that the backend holds, when it has ended.
void end_backend(desk_state& desk, const moment& now, const std::string& router,
                 reason why = reason::backend_ended);

} // namespace desk
