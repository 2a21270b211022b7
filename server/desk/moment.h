// The two clocks, as the caller read them: the desk has none of its own.
#pragma once

#include <chrono>

namespace desk {

// Since an arbitrary beginning; never goes back. For limits and durations.
using monotonic = std::chrono::microseconds;

// Since 1970 in UTC. For what people and records are told, and for what outlasts the process.
using wall = std::chrono::milliseconds;

struct moment {
    monotonic steady{};
    wall utc{};
};

} // namespace desk
