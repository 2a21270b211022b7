// Identifiers that are unique across hosts and sort by time: 48 bits of UTC milliseconds, then 80
// bits that are random, or one more than the last when the millisecond is the same.
#pragma once

#include <compare>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

#include "server/desk/moment.h"

namespace desk {

struct ulid {
    std::uint64_t high = 0; // 48 bits of time, 16 of chance
    std::uint64_t low = 0;
    // Not a pointer that is compared with 0: NOLINTNEXTLINE(modernize-use-nullptr)
    auto operator<=>(const ulid&) const = default;
    bool is_none() const
    {
        return high == 0 && low == 0;
    }
};

struct id_maker {
    std::mt19937_64 chance; // seeded by the desk's owner
    ulid last;
};

// Greater than every one before from this maker, also when the wall clock goes back.
ulid make_id(id_maker& maker, wall now);

// 26 characters of Crockford's base 32.
std::string text_of(const ulid& id);

// Either case. False when the text is no such identifier.
bool read_id(std::string_view text, ulid& id);

} // namespace desk
