#include <gtest/gtest.h>

#include "tools/common/text_width.h"

using common::character_count;
using common::display_width;

TEST(DisplayWidth, CountsPlacesOnTheScreen)
{
    EXPECT_EQ(display_width(""), 0U);
    EXPECT_EQ(display_width("CAM 1"), 5U);
    EXPECT_EQ(display_width("Köln 9×9"), 8U);
    EXPECT_EQ(display_width("テレビ"), 6U);
    EXPECT_EQ(display_width("e\u0301"), 1U);
}

TEST(DisplayWidth, CountsWhatIsNoCharacterAsOne)
{
    EXPECT_EQ(display_width("a\xC3"), 2U);
    EXPECT_EQ(display_width("\xFF\xFE!"), 3U);
    EXPECT_EQ(display_width(std::string_view("a\0\tb", 4)), 4U);
}

TEST(CharacterCount, CountsCombiningOnesToo)
{
    EXPECT_EQ(character_count("Köln"), 4U);
    EXPECT_EQ(character_count("テレビ"), 3U);
    EXPECT_EQ(character_count("e\u0301"), 2U);
    EXPECT_EQ(character_count("a\xC3"), 2U);
}
