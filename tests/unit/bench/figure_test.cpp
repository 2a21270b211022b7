#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <rapidcheck.h>

#include "bench/figure.h"

using namespace bench;

namespace {
std::vector<double> numbers_to(int last)
{
    std::vector<double> numbers(static_cast<std::size_t>(last));
    std::iota(numbers.begin(), numbers.end(), 1);
    return numbers;
}

std::vector<double> any_samples()
{
    const auto whole =
        *rc::gen::nonEmpty(rc::gen::container<std::vector<int>>(rc::gen::inRange(1, 1000)));
    return {whole.begin(), whole.end()};
}
} // namespace

TEST(Quantile, OfOneSampleIsThatSample)
{
    EXPECT_EQ(quantile_of({7}, 0), 7);
    EXPECT_EQ(quantile_of({7}, 0.5), 7);
    EXPECT_EQ(quantile_of({7}, 1), 7);
}

TEST(Quantile, LiesBetweenNeighboursInProportion)
{
    EXPECT_EQ(quantile_of({4, 1, 3, 2}, 0.5), 2.5);
    EXPECT_EQ(quantile_of({30, 10, 20}, 0.75), 25);
    EXPECT_EQ(quantile_of({30, 10, 20}, 1), 30);
    EXPECT_EQ(quantile_of(numbers_to(101), 0.99), 100);
}

TEST(Quantile, DoesNotDependOnTheOrderOfSamples)
{
    EXPECT_TRUE(rc::check([] {
        std::vector<double> samples = any_samples();
        const double quantile = *rc::gen::inRange(0, 101) / 100.0;
        const double expected = quantile_of(samples, quantile);
        std::sort(samples.begin(), samples.end());
        RC_ASSERT(quantile_of(samples, quantile) == expected);
        std::reverse(samples.begin(), samples.end());
        RC_ASSERT(quantile_of(samples, quantile) == expected);
    }));
}

TEST(Figure, RelatesTheMediansOfBothSides)
{
    const figure made = make_figure("take", "p50", "us", {{30, 10, 20}, {16, 16}});
    EXPECT_EQ(made.workload, "take");
    EXPECT_EQ(made.measure, "p50");
    EXPECT_EQ(made.unit, "us");
    EXPECT_EQ(made.ours, 20);
    EXPECT_EQ(made.floor, 16);
    EXPECT_EQ(made.ratio, 1.25);
    EXPECT_EQ(made.direction, better::less);
    EXPECT_EQ(made.aim, std::nullopt);
}

TEST(Figure, RelatesTheGivenQuantile)
{
    const figure made = make_figure("take", "p99", "us", {numbers_to(101), {50}}, 0.99);
    EXPECT_EQ(made.ours, 100);
    EXPECT_EQ(made.ratio, 2);
}

TEST(Figure, HasNoRatioWithoutAFloor)
{
    const figure made = make_figure("report", "CPU", "us", {{3}, {}});
    EXPECT_EQ(made.ours, 3);
    EXPECT_EQ(made.floor, std::nullopt);
    EXPECT_EQ(made.ratio, std::nullopt);
    EXPECT_EQ(made.ratio_low, std::nullopt);
    EXPECT_EQ(made.ratio_high, std::nullopt);
}

TEST(Figure, HasNoRatioToAFloorOfZero)
{
    const figure made = make_figure("idle", "allocations", "calls", {{3}, {0, 0}});
    EXPECT_EQ(made.floor, 0);
    EXPECT_EQ(made.ratio, std::nullopt);
    EXPECT_EQ(made.ratio_low, std::nullopt);
}

TEST(Figure, SpreadLeavesOutDrawsWhoseFloorIsZero)
{
    const figure made = make_figure("status", "CPU", "ms", {{2, 2}, {0, 1}}, 1);
    EXPECT_EQ(made.ratio, 2);
    EXPECT_EQ(made.ratio_low, 2);
    EXPECT_EQ(made.ratio_high, 2);
}

TEST(Figure, HasNoSpreadWithASingleSample)
{
    for (const paired_samples& samples :
         {paired_samples{{6}, {3, 3}}, paired_samples{{6, 6}, {3}}}) {
        const figure made = make_figure("memory", "PSS", "KiB", samples);
        EXPECT_EQ(made.ratio, 2);
        EXPECT_EQ(made.ratio_low, std::nullopt);
        EXPECT_EQ(made.ratio_high, std::nullopt);
    }
}

TEST(Figure, HasNoSpreadWhereNothingVaries)
{
    const figure made = make_figure("start", "p50", "ms", {{6, 6, 6}, {4, 4}});
    EXPECT_EQ(made.ratio_low, 1.5);
    EXPECT_EQ(made.ratio_high, 1.5);
}

// One resampling in sixteen draws the lower value twice for one side and the higher twice for the
// other.
TEST(Figure, SpreadReachesWhatOneInTwentyResamplingsReaches)
{
    const figure made = make_figure("take", "p50", "us", {{1, 3}, {1, 3}});
    EXPECT_EQ(made.ratio, 1);
    EXPECT_DOUBLE_EQ(*made.ratio_low, 1.0 / 3);
    EXPECT_EQ(made.ratio_high, 3);
}

TEST(Figure, SpreadNarrowsWithTheNumberOfSamples)
{
    const auto width = [](int samples) {
        const figure made =
            make_figure("take", "p50", "us", {numbers_to(samples), numbers_to(samples)});
        return *made.ratio_high - *made.ratio_low;
    };
    EXPECT_LT(width(1000), width(10) / 2);
}

TEST(Figure, SpreadOfEqualSamplesContainsOne)
{
    EXPECT_TRUE(rc::check([] {
        std::vector<double> samples = any_samples();
        samples.push_back(samples.front()); // at least two
        const figure made = make_figure("take", "p50", "us", {samples, samples});
        RC_ASSERT(made.ratio == 1);
        RC_ASSERT(*made.ratio_low <= 1);
        RC_ASSERT(*made.ratio_high >= 1);
    }));
}

TEST(Figure, IsTheSameForTheSameSamples)
{
    const paired_samples samples = {numbers_to(40), numbers_to(30)};
    const figure once = make_figure("take", "p50", "us", samples);
    const figure again = make_figure("take", "p50", "us", samples);
    EXPECT_EQ(once.ratio_low, again.ratio_low);
    EXPECT_EQ(once.ratio_high, again.ratio_high);
}

TEST(Aim, IsMetUpToItWhereLessIsBetter)
{
    figure judged = make_figure("take", "p50", "us", {{5}, {4}});
    judged.aim = 1.25;
    EXPECT_TRUE(meets_aim(judged));
    judged.aim = 1.24;
    EXPECT_FALSE(meets_aim(judged));
}

TEST(Aim, IsMetFromItWhereMoreIsBetter)
{
    figure judged = make_figure("commands", "rate", "records/s", {{3}, {4}});
    judged.direction = better::more;
    judged.aim = 0.75;
    EXPECT_TRUE(meets_aim(judged));
    judged.aim = 0.76;
    EXPECT_FALSE(meets_aim(judged));
}

TEST(Aim, IsMetByAFigureWithoutOneAndMissedWithoutARatio)
{
    figure judged = make_figure("take", "p50", "us", {{5}, {}});
    EXPECT_TRUE(meets_aim(judged));
    judged.aim = 1;
    EXPECT_FALSE(meets_aim(judged));
}

TEST(Limit, IsMetUpToItWhateverTheFloor)
{
    figure judged = make_figure("wish", "p50", "ms", {{3}, {}});
    judged.limit = 3;
    EXPECT_TRUE(meets_aim(judged));
    judged.limit = 2.9;
    EXPECT_FALSE(meets_aim(judged));
}
