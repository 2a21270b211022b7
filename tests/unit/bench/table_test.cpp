#include <gtest/gtest.h>

#include "bench/table.h"

using namespace bench;

namespace {
const text_table CALLS = {
    "Calls per cycle", {"call", "ours", "floor"}, {{"read", "5120", "12"}, {"select", "-3", ""}}};

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

TEST(FiguresTable, HasARowPerFigure)
{
    const text_table table = figures_table(take_and_memory());
    const std::vector<std::string> columns = {"workload", "measure", "ours", "floor",
                                              "ratio",    "spread",  "aim",  "verdict"};
    const std::vector<std::vector<std::string>> rows = {
        {"take", "p50", "30.0 us", "20 us", "1.50", "0.98-1.60", "≤ 1.25", "missed"},
        {"idle", "calls", "3 calls", "0 calls", "", "", "", ""},
        {"idle", "allocations", "0", "", "", "", "", ""}};
    EXPECT_EQ(table.title, "");
    EXPECT_EQ(table.columns, columns);
    EXPECT_EQ(table.rows, rows);
}

TEST(FiguresTable, TellsWhatHasChangedSinceTheLastRun)
{
    std::vector<figure> last = take_and_memory();
    last.pop_back();
    const text_table table = figures_table(take_and_memory(), last);
    EXPECT_EQ(table.columns.back(), "since last run");
    EXPECT_EQ(table.rows[0].back(), "as before");
    EXPECT_EQ(table.rows[2].back(), "new");
    EXPECT_EQ(table.rows[0].size(), table.columns.size());
}

TEST(TerminalTable, AlignsNumbersToTheRight)
{
    EXPECT_EQ(terminal_text(CALLS), "Calls per cycle\n"
                                    "call    ours  floor\n"
                                    "------  ----  -----\n"
                                    "read    5120     12\n"
                                    "select    -3\n");
}

TEST(TerminalTable, CountsCharactersAndNotBytes)
{
    EXPECT_EQ(terminal_text({"", {"names", "aim"}, {{"9×9", "≤ 1"}, {"12×12", "none"}}}),
              "names  aim\n"
              "-----  ----\n"
              "  9×9  ≤ 1\n"
              "12×12  none\n");
}

TEST(TerminalTable, MayHaveNoRows)
{
    EXPECT_EQ(terminal_text({"", {"call", "ours"}, {}}), "call  ours\n"
                                                         "----  ----\n");
}

TEST(MarkdownTable, AlignsNumbersToTheRight)
{
    EXPECT_EQ(markdown_text(CALLS), "**Calls per cycle**\n"
                                    "\n"
                                    "| call | ours | floor |\n"
                                    "| --- | --: | --: |\n"
                                    "| read | 5120 | 12 |\n"
                                    "| select | -3 | |\n");
}

TEST(MarkdownTable, MayHaveNoTitle)
{
    EXPECT_EQ(markdown_text({"", {"a"}, {{"b"}}}), "| a |\n"
                                                   "| --- |\n"
                                                   "| b |\n");
}
