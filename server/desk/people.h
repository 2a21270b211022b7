// What people leave behind in the house when they go. Their ids may become somebody else's.
#pragma once

#include <string>

#include "server/desk/desk.h"

namespace desk {

// The person's stages, undo steps and notices go. Their locks stay, and are those of "ID
// (removed)", who is nobody's id: an engineer breaks them.
void forget_person(desk_state& desk, const moment& now, const actor& actor,
                   const std::string& person);

// Undo steps of another of this id, made before the person was, by their ids, which go on when the
// wall clock is set back.
void forget_steps_before(house& house, const std::string& person, wall created);

} // namespace desk
