#include "server/desk/statistics.h"

#include <algorithm>
#include <cmath>

namespace desk {

namespace {
constexpr double STEPS_OF_DOUBLING = 16;

int step_of(monotonic time)
{
    const auto microseconds = static_cast<double>(std::max(time, monotonic(1)).count());
    return static_cast<int>(std::floor(std::log2(microseconds) * STEPS_OF_DOUBLING));
}

monotonic middle_of(int step)
{
    return monotonic(std::llround(std::exp2((step + 0.5) / STEPS_OF_DOUBLING)));
}

std::int64_t minute_of(wall time)
{
    return std::chrono::floor<std::chrono::minutes>(time).count();
}

std::int64_t hour_of(wall time)
{
    return std::chrono::floor<std::chrono::hours>(time).count();
}

bool is_kept(std::int64_t number, std::int64_t present, int kept)
{
    return number <= present && number > present - kept;
}

// Those that are not kept any more go, also when the clock has gone back.
figures& present_of(std::map<std::int64_t, figures>& all, std::int64_t present, int kept)
{
    if (!all.contains(present))
        std::erase_if(all, [&](const auto& each) { return !is_kept(each.first, present, kept); });
    return all[present];
}

void count(figures& figures, outcome end, std::optional<monotonic> took)
{
    switch (end) {
    case outcome::confirmed:
        ++figures.confirmed;
        if (!took) return;
        ++figures.times[step_of(*took)];
        figures.slowest = std::max(figures.slowest, *took);
        return;
    case outcome::contradicted:
        ++figures.contradicted;
        return;
    case outcome::refused:
        ++figures.refused;
        return;
    case outcome::timed_out:
        ++figures.timed_out;
        return;
    case outcome::not_sent:
        ++figures.not_sent;
        return;
    case outcome::open:
    case outcome::superseded: // another one was wished for
    case outcome::unknown:
        return;
    }
}

void add(figures& to, const figures& more)
{
    to.confirmed += more.confirmed;
    to.contradicted += more.contradicted;
    to.refused += more.refused;
    to.timed_out += more.timed_out;
    to.not_sent += more.not_sent;
    to.link_losses += more.link_losses;
    for (const auto& [step, count] : more.times)
        to.times[step] += count;
    to.slowest = std::max(to.slowest, more.slowest);
}

figures sum_of(const std::map<std::int64_t, figures>& all, std::int64_t present, int kept)
{
    figures sum;
    for (const auto& [number, each] : all)
        if (is_kept(number, present, kept)) add(sum, each);
    return sum;
}
} // namespace

std::uint64_t failures(const figures& figures)
{
    return figures.contradicted + figures.refused + figures.timed_out + figures.not_sent;
}

std::optional<monotonic> time_of_share(const figures& figures, double share)
{
    std::uint64_t all = 0;
    for (const auto& [step, count] : figures.times)
        all += count;
    std::uint64_t below = 0;
    for (const auto& [step, count] : figures.times) {
        below += count;
        if (static_cast<double>(below) >= share * static_cast<double>(all))
            return std::min(middle_of(step), figures.slowest);
    }
    return std::nullopt;
}

void count_end(statistics& statistics, wall now, outcome end, std::optional<monotonic> took)
{
    count(present_of(statistics.minutes, minute_of(now), MINUTES_KEPT), end, took);
    count(present_of(statistics.hours, hour_of(now), HOURS_KEPT), end, took);
}

void count_link_loss(statistics& statistics, wall now)
{
    ++present_of(statistics.minutes, minute_of(now), MINUTES_KEPT).link_losses;
    ++present_of(statistics.hours, hour_of(now), HOURS_KEPT).link_losses;
}

figures of_last_hour(const statistics& statistics, wall now)
{
    return sum_of(statistics.minutes, minute_of(now), MINUTES_KEPT);
}

figures of_last_day(const statistics& statistics, wall now)
{
    return sum_of(statistics.hours, hour_of(now), HOURS_KEPT);
}

} // namespace desk
