// What bench_talker says.
#pragma once

#include <cstdint>

namespace bench {

constexpr std::uint32_t FRAMES_PER_SECOND = 20'000;
constexpr std::uint32_t FRAMES_PER_REPORT = 200; // one in 10 ms

} // namespace bench
