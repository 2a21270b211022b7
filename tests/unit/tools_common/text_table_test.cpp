#include <gtest/gtest.h>

#include "tools/common/text_table.h"

using namespace common;

namespace {
const text_table CALLS = {"Calls per cycle",
                          {{"call"}, {"ours", true}, {"floor", true}},
                          {{"read", "5120", "12"}, {"select", "-3", ""}}};
} // namespace

TEST(TextTable, AlignsColumnsOnTheScreen)
{
    EXPECT_EQ(terminal_text(CALLS), "Calls per cycle\n"
                                    "call    ours  floor\n"
                                    "read    5120     12\n"
                                    "select    -3\n");
}

TEST(TextTable, LeavesNothingAtTheEndOfALine)
{
    EXPECT_EQ(terminal_text({"", {{"name"}, {"state"}}, {{"A", ""}, {"", ""}}}),
              "name  state\nA\n\n");
}

TEST(TextTable, CountsPlacesAndNotBytes)
{
    EXPECT_EQ(terminal_text({"", {{"a"}, {"b"}}, {{"Köln", "1"}, {"テレ", "2"}, {"Bo", "3"}}}),
              "a     b\nKöln  1\nテレ  2\nBo    3\n");
}

TEST(TextTable, IsMarkdownToo)
{
    EXPECT_EQ(markdown_text(CALLS), "**Calls per cycle**\n\n"
                                    "| call | ours | floor |\n"
                                    "| --- | --: | --: |\n"
                                    "| read | 5120 | 12 |\n"
                                    "| select | -3 | |\n");
    EXPECT_EQ(markdown_text({"", {{"a"}}, {}}), "| a |\n| --- |\n");
}

TEST(ListText, ReadsFromTopToBottom)
{
    EXPECT_EQ(list_text({"one", "two", "three", "four", "five"}, 12), "one    four\n"
                                                                      "two    five\n"
                                                                      "three\n");
    EXPECT_EQ(list_text({"テレ", "b"}, 10), "テレ  b\n");
}

TEST(ListText, HasOneColumnWhenNothingFits)
{
    EXPECT_EQ(list_text({"one", "three"}, 2), "one\nthree\n");
    EXPECT_EQ(list_text({"a", "b"}, 3), "a\nb\n");
    EXPECT_EQ(list_text({}, 80), "");
}
