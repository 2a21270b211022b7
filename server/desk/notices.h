// What people must be told of what others have done to theirs.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "server/desk/desk.h"

namespace desk {

// The person's, of the last NOTICE_AGE, oldest first.
std::vector<std::pair<ulid, notice>> notices_of(const house& house, const std::string& person,
                                                wall now);

// One's own. That it is not there is nothing.
void dismiss_notice(desk_state& desk, const moment& now, const actor& actor, const ulid& id);

} // namespace desk
