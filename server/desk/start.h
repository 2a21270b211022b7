// How a desk begins. The seed is for identifiers and should come from the system's random source.
#pragma once

#include <cstdint>

#include "server/desk/desk.h"

namespace desk {

desk_state make_desk(std::uint64_t seed);

// A desk with this house, as kept; all links are off. Wishes that were open end as unknown: the
// server was restarted.
desk_state make_desk(std::uint64_t seed, house kept, const moment& now);

} // namespace desk
