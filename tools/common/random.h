// Draws from a generator: the same from the same seed on every machine, which the distributions of
// the standard library do not promise.
#pragma once

#include <concepts>
#include <cstdint>
#include <random>

namespace common {

// A number of the range, both ends included. The least must not be above the most.
template <std::integral number>
number draw(std::mt19937_64& random, number least, number most)
{
    const std::uint64_t count =
        static_cast<std::uint64_t>(most) - static_cast<std::uint64_t>(least) + 1;
    const std::uint64_t offset = count == 0 ? random() : random() % count; // 0: all there are
    return static_cast<number>(static_cast<std::uint64_t>(least) + offset);
}

// From 0 to just below 1, by the 53 bits that a double holds exactly.
inline double draw_fraction(std::mt19937_64& random)
{
    return static_cast<double>(random() >> 11) * 0x1p-53;
}

// True with the probability: never at 0, always at 1.
inline bool draw_chance(std::mt19937_64& random, double probability)
{
    return draw_fraction(random) < probability;
}

} // namespace common
