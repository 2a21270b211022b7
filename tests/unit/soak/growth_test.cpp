#include <functional>
#include <gmock/gmock.h>

#include "soak/growth.h"

using namespace soak;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {
// A sample each ten seconds, the heap given, everything else constant.
std::vector<cost_sample> samples_of(int count, const std::function<std::uint64_t(int)>& heap)
{
    std::vector<cost_sample> samples;
    for (int i = 0; i < count; ++i)
        samples.push_back({10.0 * i, {.pss_kib = 900, .heap_kib = heap(i), .descriptors = 6}});
    return samples;
}
// Whatever grew too much.
std::vector<std::string> findings(const std::vector<cost_sample>& samples)
{
    std::vector<std::string> texts;
    for (const growth_judgement& judgement : judge_growth(samples))
        if (judgement.too_much) texts.push_back(judgement.text);
    return texts;
}
} // namespace

TEST(Growth, SteadyMemoryDoesNotGrow)
{
    const auto samples = samples_of(100, [](int i) { return i % 2 == 0 ? 100U : 104U; });
    EXPECT_NEAR(measure_growth(samples, &process_cost::heap_kib).slope_per_hour, 0, 50);
    EXPECT_THAT(findings(samples), IsEmpty());
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
    EXPECT_THAT(findings(samples), ElementsAre("the heap has grown by 550 KiB, 512 KiB allowed"));
}

TEST(Growth, StartIsNoGrowth)
{
    EXPECT_THAT(findings(samples_of(100, [](int i) { return i < 20 ? 100U : 9000U; })), IsEmpty());
}

TEST(Growth, SinglePeakIsNoGrowth)
{
    EXPECT_THAT(findings(samples_of(100, [](int i) { return i == 80 ? 9000U : 100U; })), IsEmpty());
}

TEST(Growth, OtherMemoryAndDescriptorsCountToo)
{
    auto samples = samples_of(100, [](int) { return 100U; });
    for (std::size_t i = 60; i < 100; ++i)
        samples[i].cost.pss_kib = 4000;
    EXPECT_THAT(findings(samples), ElementsAre("PSS has grown by 3100 KiB, 2048 KiB allowed"));
    samples = samples_of(100, [](int) { return 100U; });
    for (std::size_t i = 60; i < 100; ++i)
        samples[i].cost.descriptors = 8;
    EXPECT_THAT(findings(samples),
                ElementsAre("the number of open descriptors has grown by 2, 1 allowed"));
}

TEST(Growth, ShortRunMayGrowMore)
{
    const auto samples = samples_of(29, [](int i) { return i < 15 ? 100U : 16000U; });
    EXPECT_THAT(findings(samples), IsEmpty());
    EXPECT_THAT(findings(samples_of(29, [](int i) { return i < 15 ? 100U : 17000U; })), SizeIs(1));
}

TEST(Growth, EightSamplesAreEnough)
{
    const auto samples = samples_of(8, [](int i) { return 9000U * static_cast<unsigned>(i); });
    EXPECT_THAT(findings(samples),
                ElementsAre("the heap has grown by 36000 KiB, 16384 KiB allowed"));
}

TEST(Growth, FewSamplesAreNotEnough)
{
    const auto samples = samples_of(7, [](int i) { return 9000U * static_cast<unsigned>(i); });
    EXPECT_THAT(findings(samples),
                ElementsAre("memory was measured 7 times, too seldom to tell a growth"));
    EXPECT_THAT(findings({}), SizeIs(1));
}

TEST(Growth, IsToldAlsoWhereItIsAllowed)
{
    auto samples = samples_of(100, [](int i) { return i < 50 ? 100U : 128U; });
    for (std::size_t i = 60; i < 100; ++i)
        samples[i].cost.pss_kib = 890;
    const auto judgements = judge_growth(samples);
    ASSERT_THAT(judgements, SizeIs(3));
    EXPECT_EQ(judgements[0].text, "the heap has grown by 28 KiB, 512 KiB allowed");
    EXPECT_EQ(judgements[1].text, "PSS has shrunk by 10 KiB, 2048 KiB allowed");
    EXPECT_EQ(judgements[2].text, "the number of open descriptors has grown by 0, 1 allowed");
}

TEST(Growth, SlopeLeavesTheStartOut)
{
    const auto samples =
        samples_of(100, [](int i) { return i < 25 ? 0U : 1000U + 2 * static_cast<unsigned>(i); });
    EXPECT_NEAR(measure_growth(samples, &process_cost::heap_kib).slope_per_hour, 720, 0.01);
}

TEST(Growth, SamplesOfOneMomentHaveNoSlope)
{
    auto samples = samples_of(8, [](int i) { return 100U * static_cast<unsigned>(i); });
    for (cost_sample& sample : samples)
        sample.seconds = 5;
    EXPECT_EQ(measure_growth(samples, &process_cost::heap_kib).slope_per_hour, 0);
}

TEST(Growth, SparklineShowsTheCourse)
{
    const auto samples = samples_of(3, [](int i) { return 100U * static_cast<unsigned>(i); });
    EXPECT_EQ(sparkline(samples, &process_cost::heap_kib), "▁▄█");
    EXPECT_EQ(sparkline(samples, &process_cost::pss_kib), "▁▁▁");
    EXPECT_EQ(sparkline({}, &process_cost::pss_kib), "");
    const std::string bar = "▁";
    EXPECT_EQ(sparkline(samples_of(100, [](int) { return 0U; }), &process_cost::heap_kib).size(),
              60 * bar.size());
}
