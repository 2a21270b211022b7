#include "server/desk/statistics.h"
#include "unit/desk/desk_test.h"

using namespace desk;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {
constexpr wall NOW = hours(500'000);

class Statistics : public DeskTest {
  protected:
    const statistics& counted = desk.live.at("main").statistics;

    figures of_hour() const
    {
        return of_last_hour(counted, now.utc);
    }
};
} // namespace

TEST_F(Statistics, CountEachOutcome)
{
    statistics statistics;
    for (int end = 0; end <= static_cast<int>(outcome::unknown); ++end)
        for (int times = 0; times <= end; ++times)
            count_end(statistics, NOW, static_cast<outcome>(end), milliseconds(1));
    const figures hour = of_last_hour(statistics, NOW);
    EXPECT_EQ(hour.confirmed, 2U);
    EXPECT_EQ(hour.contradicted, 3U);
    EXPECT_EQ(hour.refused, 4U);
    EXPECT_EQ(hour.timed_out, 5U);
    EXPECT_EQ(hour.not_sent, 6U);
    EXPECT_EQ(failures(hour), 18U);
    EXPECT_EQ(of_last_day(statistics, NOW), hour);
}

TEST_F(Statistics, TellTimes)
{
    statistics statistics;
    EXPECT_EQ(time_of_share(of_last_hour(statistics, NOW), 0.5), std::nullopt);
    for (int time = 1; time <= 1000; ++time)
        count_end(statistics, NOW, outcome::confirmed, milliseconds(time));
    count_end(statistics, NOW, outcome::confirmed, std::nullopt);
    count_end(statistics, NOW, outcome::timed_out, milliseconds(3000));
    const figures hour = of_last_hour(statistics, NOW);
    EXPECT_EQ(hour.confirmed, 1001U);
    EXPECT_EQ(hour.slowest, milliseconds(1000));
    for (const auto& [share, expected] : {std::pair(0.5, 500), {0.95, 950}, {0.99, 990}}) {
        const auto time = static_cast<double>(time_of_share(hour, share)->count()) / 1000;
        EXPECT_NEAR(time, expected, expected * 0.03) << share;
    }
    EXPECT_LE(*time_of_share(hour, 1), hour.slowest);
}

TEST_F(Statistics, TellTheOnlyTimeRight)
{
    for (const int time : {0, 1, 7, 60'000}) {
        statistics statistics;
        count_end(statistics, NOW, outcome::confirmed, milliseconds(time));
        const figures hour = of_last_hour(statistics, NOW);
        EXPECT_NEAR(static_cast<double>(time_of_share(hour, 0.5)->count()), 1000.0 * time,
                    30.0 * time);
        EXPECT_EQ(hour.slowest, milliseconds(time));
    }
}

TEST_F(Statistics, ForgetWhatIsTooOld)
{
    statistics statistics;
    count_end(statistics, NOW, outcome::refused, milliseconds(1));
    const auto hour_at = [&](wall at) {
        return of_last_hour(statistics, at).refused;
    };
    const auto day_at = [&](wall at) {
        return of_last_day(statistics, at).refused;
    };
    EXPECT_EQ(hour_at(NOW + minutes(60) - wall(1)), 1U);
    EXPECT_EQ(hour_at(NOW + minutes(60)), 0U);
    EXPECT_EQ(day_at(NOW + hours(24) - wall(1)), 1U);
    EXPECT_EQ(day_at(NOW + hours(24)), 0U);
    EXPECT_EQ(day_at(NOW - hours(1)), 0U) << "the clock has gone back";
    for (int minute = 0; minute < 10'000; ++minute)
        count_link_loss(statistics, NOW + minutes(minute));
    EXPECT_EQ(statistics.minutes.size(), static_cast<std::size_t>(MINUTES_KEPT));
    EXPECT_EQ(statistics.hours.size(), static_cast<std::size_t>(HOURS_KEPT));
    count_link_loss(statistics, NOW - hours(48));
    EXPECT_EQ(statistics.minutes.size(), 1U);
    EXPECT_EQ(statistics.hours.size(), 1U);
}

TEST_F(Statistics, OfARouterHaveItsWishes)
{
    const auto one = wish(anna, 0, 2);
    wish(anna, 1, 2);
    EXPECT_EQ(count_waiting(desk.live.at("main")), 2U);
    takes(0, 2);
    EXPECT_EQ(count_waiting(desk.live.at("main")), 1U);
    wait_ms(40);
    shows(0, 2);
    report(0, 2);
    wish(anna, 2, 0);  // unchanged
    wish(guest, 2, 1); // no right
    wait_ms(5000);
    report_backend_ended(desk, now, "main");
    const figures hour = of_hour();
    EXPECT_EQ(hour.confirmed, 2U);
    EXPECT_EQ(hour.slowest, milliseconds(40));
    EXPECT_EQ(hour.not_sent, 2U);
    EXPECT_EQ(hour.times.size(), 1U);
    EXPECT_EQ(counted.most_waiting, 2U);
    EXPECT_EQ(became(one), "confirmed");
    EXPECT_EQ(of_last_hour(desk.live.at("back").statistics, now.utc), figures{});
}

TEST_F(Statistics, OfARouterHaveItsLinkLosses)
{
    link(link_state::down);
    link(link_state::connecting);
    link(link_state::reading);
    link(link_state::down);
    link(link_state::ready);
    link(link_state::failing);
    EXPECT_EQ(of_hour().link_losses, 2U);
}

TEST_F(Statistics, OfADryRunAreNone)
{
    take_request request;
    request.rows = {{{"main", 0, 99}, {}}};
    request.dry_run = true;
    take(desk, now, anna, request);
    EXPECT_THAT(counted.minutes, IsEmpty());
}
