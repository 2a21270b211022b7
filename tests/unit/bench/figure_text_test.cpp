#include <gtest/gtest.h>

#include "bench/figure_text.h"

using namespace bench;

namespace {
figure ratio_of(double ratio, double low, double high)
{
    figure made = {.workload = "take", .measure = "p50", .unit = "us", .ours = ratio};
    made.floor = 1;
    made.ratio = ratio;
    made.ratio_low = low;
    made.ratio_high = high;
    return made;
}

figure value_of(double value)
{
    return {.workload = "memory", .measure = "slope", .unit = "KiB/h", .ours = value};
}

figure aimed(figure made, double aim, better direction)
{
    made.aim = aim;
    made.direction = direction;
    return made;
}

std::vector<figure> take_and_memory()
{
    figure take = {.workload = "take", .measure = "p50", .unit = "us", .ours = 30.04};
    take.floor = 20;
    take.ratio = 1.502;
    take.ratio_low = 0.984;
    take.ratio_high = 1.6;
    take.aim = 1.25;
    figure calls = {.workload = "idle", .measure = "calls", .unit = "calls", .ours = 3};
    calls.floor = 0;
    return {take, calls, {.workload = "idle", .measure = "allocations", .unit = "", .ours = 0}};
}
} // namespace

TEST(NumberText, RoundsToThreeDigits)
{
    EXPECT_EQ(number_text(0.01234), "0.0123");
    EXPECT_EQ(number_text(1.5), "1.50");
    EXPECT_EQ(number_text(9.999), "10.0");
    EXPECT_EQ(number_text(99.96), "100");
    EXPECT_EQ(number_text(783.4), "783");
    EXPECT_EQ(number_text(1234.5), "1230");
    EXPECT_EQ(number_text(411999.5), "412 000");
    EXPECT_EQ(number_text(-12345.6), "-12 300");
}

TEST(NumberText, TellsWholeNumbersInFull)
{
    EXPECT_EQ(number_text(0), "0");
    EXPECT_EQ(number_text(-7), "-7");
    EXPECT_EQ(number_text(9999), "9999");
    EXPECT_EQ(number_text(20017), "20 017");
    EXPECT_EQ(number_text(1234567), "1 234 567");
}

TEST(RatioText, HasTwoDecimalsUpToTen)
{
    EXPECT_EQ(ratio_text(1), "1.00");
    EXPECT_EQ(ratio_text(0.984), "0.98");
    EXPECT_EQ(ratio_text(9.994), "9.99");
    EXPECT_EQ(ratio_text(9.996), "10.0");
    EXPECT_EQ(ratio_text(38.44), "38.4");
    EXPECT_EQ(ratio_text(139.6), "140");
}

TEST(SpreadText, TellsBothEnds)
{
    EXPECT_EQ(spread_text(ratio_of(1, 0.976, 1.042)), "0.98-1.04");
    EXPECT_EQ(spread_text(value_of(1)), "");
}

TEST(AimText, TellsTheDirection)
{
    EXPECT_EQ(aim_text(aimed(value_of(1), 1.25, better::less)), "≤ 1.25");
    EXPECT_EQ(aim_text(aimed(value_of(1), 0.85, better::more)), "≥ 0.85");
    EXPECT_EQ(aim_text(value_of(1)), "");
}

TEST(AimText, TellsALimitInItsUnit)
{
    figure limited = {.workload = "wish", .measure = "p50", .unit = "ms", .ours = 4};
    limited.limit = 3;
    EXPECT_EQ(aim_text(limited), "≤ 3 ms");
    EXPECT_EQ(verdict_text(limited), "missed");
    limited.ours = 3;
    EXPECT_EQ(verdict_text(limited), "met");
}

TEST(VerdictText, TellsWhetherTheAimIsMet)
{
    EXPECT_EQ(verdict_text(aimed(ratio_of(1.1, 1, 2), 1.2, better::less)), "met");
    EXPECT_EQ(verdict_text(aimed(ratio_of(1.1, 1, 2), 1.2, better::more)), "missed");
    EXPECT_EQ(verdict_text(ratio_of(1.1, 1, 2)), "");
}

TEST(ChangeText, RatiosWithOverlappingSpreadsAreAsBefore)
{
    const figure last = ratio_of(1.5, 1.25, 2);
    EXPECT_EQ(change_text(ratio_of(1.1, 1, 1.25), {last}), "as before");
    EXPECT_EQ(change_text(ratio_of(3, 2, 4), {last}), "as before");
    EXPECT_EQ(change_text(ratio_of(1.5, 1, 4), {last}), "as before");
}

TEST(ChangeText, RatiosWithSpreadsApartHaveChanged)
{
    const figure last = ratio_of(1.25, 1.2, 1.3);
    EXPECT_EQ(change_text(ratio_of(1.1, 1, 1.19), {last}), "better by 12 %");
    EXPECT_EQ(change_text(ratio_of(1.375, 1.31, 1.4), {last}), "worse by 10 %");
}

TEST(ChangeText, MoreMayBeBetter)
{
    const figure last = ratio_of(1, 0.9, 1.1);
    EXPECT_EQ(change_text(aimed(ratio_of(2, 1.9, 2.1), 1, better::more), {last}),
              "better by 100 %");
    EXPECT_EQ(change_text(aimed(ratio_of(0.5, 0.4, 0.6), 1, better::more), {last}),
              "worse by 50 %");
}

TEST(ChangeText, ValuesWithoutAFloorAreAsBeforeWithinAQuarter)
{
    EXPECT_EQ(change_text(value_of(125), {value_of(100)}), "as before");
    EXPECT_EQ(change_text(value_of(75), {value_of(100)}), "as before");
    EXPECT_EQ(change_text(value_of(126), {value_of(100)}), "worse by 26 %");
    EXPECT_EQ(change_text(value_of(74), {value_of(100)}), "better by 26 %");
}

TEST(ChangeText, NothingIsAnyPartOfZero)
{
    EXPECT_EQ(change_text(value_of(0), {value_of(0)}), "as before");
    EXPECT_EQ(change_text(value_of(1), {value_of(0)}), "worse than 0");
    EXPECT_EQ(change_text(value_of(-1), {value_of(0)}), "better than 0");
}

TEST(ChangeText, BelowZeroLessIsStillBetter)
{
    EXPECT_EQ(change_text(value_of(-10), {value_of(-5)}), "better by 100 %");
    EXPECT_EQ(change_text(value_of(5), {value_of(-5)}), "worse by 200 %");
    EXPECT_EQ(change_text(value_of(-5), {value_of(-6)}), "as before");
}

TEST(ChangeText, RatioAndValueAreNotCompared)
{
    figure value = ratio_of(1, 1, 1);
    value.ratio = value.ratio_low = value.ratio_high = std::nullopt;
    EXPECT_EQ(change_text(value, {ratio_of(1, 1, 1)}), "new");
    EXPECT_EQ(change_text(ratio_of(1, 1, 1), {value}), "new");
}

TEST(ChangeText, FigureOfAnotherKindIsNoneToCompareWith)
{
    const figure now = value_of(1);
    std::vector<figure> last(3, now);
    last[0].workload = "start";
    last[1].measure = "PSS";
    last[2].unit = "MiB/h";
    for (const figure& other : last)
        EXPECT_EQ(change_text(now, {other}), "new");
    last.push_back(now);
    last.erase(last.begin() + 2);
    EXPECT_EQ(change_text(now, last), "as before");
    EXPECT_EQ(change_text(now, {}), "new");
}

TEST(FiguresTable, HasARowPerFigure)
{
    const common::text_table table = figures_table(take_and_memory());
    const std::vector<std::vector<std::string>> rows = {
        {"take", "p50", "30.0 us", "20 us", "1.50", "0.98-1.60", "≤ 1.25", "missed"},
        {"idle", "calls", "3 calls", "0 calls", "", "", "", ""},
        {"idle", "allocations", "0", "", "", "", "", ""}};
    EXPECT_EQ(table.title, "");
    EXPECT_EQ(terminal_text(table).substr(0, terminal_text(table).find('\n')),
              "workload  measure         ours    floor  ratio     spread  aim     verdict");
    EXPECT_EQ(table.rows, rows);
}

TEST(FiguresTable, TellsWhatHasChangedSinceTheLastRun)
{
    std::vector<figure> last = take_and_memory();
    last.pop_back();
    const common::text_table table = figures_table(take_and_memory(), last);
    EXPECT_EQ(table.columns.back().title, "since last run");
    EXPECT_EQ(table.rows[0].back(), "as before");
    EXPECT_EQ(table.rows[2].back(), "new");
    EXPECT_EQ(table.rows[0].size(), table.columns.size());
}
