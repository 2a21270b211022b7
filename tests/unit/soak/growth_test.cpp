#include <functional>
#include <gtest/gtest.h>

#include "soak/growth.h"

using namespace soak;

namespace {
// A sample each ten seconds, the heap given, everything else constant.
std::vector<cost_sample> samples_of(int count, const std::function<std::uint64_t(int)>& heap)
{
    std::vector<cost_sample> samples;
    for (int i = 0; i < count; ++i)
        samples.push_back({10.0 * i, {.pss_kib = 900, .heap_kib = heap(i), .descriptors = 6}});
    return samples;
}
} // namespace

TEST(Growth, SteadyMemoryDoesNotGrow)
{
    const auto samples = samples_of(100, [](int i) { return i % 2 == 0 ? 100U : 104U; });
    EXPECT_NEAR(measure_growth(samples, &process_cost::heap_kib).slope_per_hour, 0, 50);
    EXPECT_EQ(growth_finding(samples), "");
}

TEST(Growth, StraightLineHasItsSlope)
{
    const auto samples =
        samples_of(100, [](int i) { return 1000U + 2 * static_cast<unsigned>(i); });
    const growth_figures figures = measure_growth(samples, &process_cost::heap_kib);
    EXPECT_NEAR(figures.slope_per_hour, 720, 0.01);
    EXPECT_NEAR(figures.growth, 100, 0.01);
}

TEST(Growth, LeakIsFound)
{
    const auto samples =
        samples_of(100, [](int i) { return 1000U + 11 * static_cast<unsigned>(i); });
    EXPECT_EQ(growth_finding(samples), "the heap has grown by 550 KiB");
}

TEST(Growth, StartIsNoGrowth)
{
    EXPECT_EQ(growth_finding(samples_of(100, [](int i) { return i < 20 ? 100U : 9000U; })), "");
}

TEST(Growth, SinglePeakIsNoGrowth)
{
    EXPECT_EQ(growth_finding(samples_of(100, [](int i) { return i == 80 ? 9000U : 100U; })), "");
}

TEST(Growth, OtherMemoryAndDescriptorsCountToo)
{
    auto samples = samples_of(100, [](int) { return 100U; });
    for (std::size_t i = 60; i < 100; ++i)
        samples[i].cost.pss_kib = 4000;
    EXPECT_EQ(growth_finding(samples), "memory has grown by 3100 KiB");
    samples = samples_of(100, [](int) { return 100U; });
    for (std::size_t i = 60; i < 100; ++i)
        samples[i].cost.descriptors = 8;
    EXPECT_EQ(growth_finding(samples), "the number of open descriptors has grown");
}

TEST(Growth, ShortRunMayGrowMore)
{
    const auto samples = samples_of(29, [](int i) { return i < 15 ? 100U : 16000U; });
    EXPECT_EQ(growth_finding(samples), "");
    EXPECT_NE(growth_finding(samples_of(29, [](int i) { return i < 15 ? 100U : 17000U; })), "");
}

TEST(Growth, FewSamplesSayNothing)
{
    EXPECT_EQ(growth_finding(samples_of(7, [](int i) { return 9000U * static_cast<unsigned>(i); })),
              "");
    EXPECT_EQ(growth_finding({}), "");
}

TEST(Growth, SparklineShowsTheCourse)
{
    const auto samples = samples_of(3, [](int i) { return 100U * static_cast<unsigned>(i); });
    EXPECT_EQ(sparkline(samples, &process_cost::heap_kib), "▁▄█");
    EXPECT_EQ(sparkline(samples, &process_cost::pss_kib), "▁▁▁");
    EXPECT_EQ(sparkline({}, &process_cost::pss_kib), "");
}
