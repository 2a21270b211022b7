#include <gtest/gtest.h>

#include "console/table.h"

using namespace console;

TEST(ConsoleTable, AlignsColumns)
{
    EXPECT_EQ(format_table({"#", "name", "state"}, {{"9", "CAM 10", ""}, {"10", "A", "pending"}}),
              " #  name    state\n"
              " 9  CAM 10\n"
              "10  A       pending\n");
}

TEST(ConsoleTable, CountsCharactersNotBytes)
{
    EXPECT_EQ(text_width("K\xC3\xB6ln"), 4U);
    EXPECT_EQ(format_table({"a", "b"}, {{"K\xC3\xB6ln", "1"}, {"Bonn", "2"}}),
              "a     b\nK\xC3\xB6ln  1\nBonn  2\n");
}

TEST(ConsoleTable, FormatsColumnsFromTopToBottom)
{
    EXPECT_EQ(format_columns({"one", "two", "three", "four", "five"}, 12), "one    four\n"
                                                                           "two    five\n"
                                                                           "three\n");
}

TEST(ConsoleTable, FormatsOneColumnWhenNothingFits)
{
    EXPECT_EQ(format_columns({"one", "three"}, 2), "one\nthree\n");
    EXPECT_EQ(format_columns({}, 80), "");
}
