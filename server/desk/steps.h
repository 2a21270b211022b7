// How functions of the desk change it: by entries for the house, and by telling what is different.
// For the desk's own files.
#pragma once

#include <string>

#include "server/desk/desk.h"

namespace desk {

live_router* find_live(desk_state& desk, const std::string& router);

// Carries the entry out in the house and keeps it for the caller. Keeps lock_ends and salvo_ends
// true.
void record_entry(desk_state& desk, entry entry);

// A deleted one, which cannot be restored any more.
void forget_salvo(desk_state& desk, const moment& now, const ulid& id);

// The router's next revision, and the change that tells of it. No such router: nothing.
void tell_change(desk_state& desk, const std::string& router, change::kind what, int position = 0,
                 const ulid& id = {});
// The house's next revision: of a salvo, or of which routers there are.
void tell_house_change(desk_state& desk, change::kind what, const ulid& salvo = {});
void tell_batch(desk_state& desk, const ulid& id); // a new one, which is of no revision
void tell_notice(desk_state& desk, const std::string& person, const ulid& id);
// The router's next revision, too; the desk has the router.
void tell_stage_change(desk_state& desk, const std::string& person, const std::string& router);

} // namespace desk
