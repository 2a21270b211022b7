// How fast and how well a router confirms: what has been since the desk began, by whole minutes of
// UTC for an hour and by whole hours for a day.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "server/desk/house.h"

namespace desk {

struct figures {
    std::uint64_t confirmed = 0; // wishes that ended so
    std::uint64_t contradicted = 0;
    std::uint64_t refused = 0;
    std::uint64_t timed_out = 0;
    std::uint64_t not_sent = 0;
    std::uint64_t link_losses = 0;
    // How many of the confirmed that were sent took so long, in sixteenths of a power of two of
    // microseconds.
    std::map<int, std::uint64_t> times;
    monotonic slowest{};
    bool operator==(const figures&) const = default;
};

// How many ended otherwise than wished.
std::uint64_t failures(const figures& figures);

// From wish to confirmation, below which this share (0 to 1) of them stayed: right to 3 %. None
// when there are none.
std::optional<monotonic> time_of_share(const figures& figures, double share);

struct statistics {
    std::map<std::int64_t, figures> minutes; // since 1970; none without anything
    std::map<std::int64_t, figures> hours;
    std::size_t most_waiting = 0; // wishes that had not been sent
};

constexpr int MINUTES_KEPT = 60; // the present one included
constexpr int HOURS_KEPT = 24;

// A wish has ended. `took`: since it was wished; none when it was not sent.
void count_end(statistics& statistics, wall now, outcome end, std::optional<monotonic> took);
void count_link_loss(statistics& statistics, wall now);

// Of the present minute and those before, or of the present hour and those before.
figures of_last_hour(const statistics& statistics, wall now);
figures of_last_day(const statistics& statistics, wall now);

} // namespace desk
