// Counts what the program allocates: the global operators new of this program add to one number.
#pragma once

#include <cstdint>

namespace bench {

// Calls of any operator new since the program started.
extern std::uint64_t allocation_count;

} // namespace bench
