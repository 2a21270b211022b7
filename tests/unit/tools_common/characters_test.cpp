#include <gtest/gtest.h>
#include <string>

#include "tools/common/characters.h"

using namespace common;
using namespace std::string_literals;

TEST(Characters, HaveACodeAndALength)
{
    struct {
        std::string text;
        std::uint32_t code;
        std::size_t length;
    } const cases[] = {
        {"a", 'a', 1},
        {"\0"s, 0, 1},
        {"\x7f", 0x7f, 1},
        {"\xc2\x80", 0x80, 2},
        {"\xdf\xbf", 0x7ff, 2},
        {"\xe0\xa0\x80", 0x800, 3},
        {"\xed\x9f\xbf", 0xd7ff, 3},
        {"\xee\x80\x80", 0xe000, 3},
        {"\xef\xbf\xbf", 0xffff, 3},
        {"\xf0\x90\x80\x80", 0x10000, 4},
        {"\xf4\x8f\xbf\xbf", 0x10ffff, 4},
    };
    for (const auto& each : cases) {
        const character first = first_character(each.text + "x");
        EXPECT_EQ(first.code, each.code);
        EXPECT_EQ(first.length, each.length);
        EXPECT_TRUE(is_utf8(each.text + "x"));
    }
}

TEST(Characters, AreNoOtherBytes)
{
    for (const char* text :
         {"\x80", "\xbf", "\xc1\xbf", "\xc3", "\xc3(", "\xe0\x9f\xbf", "\xe2\x82", "\xe2\x28\xa1",
          "\xed\xa0\x80", "\xed\xbf\xbf", "\xf0\x8f\xbf\xbf", "\xf0\x90\x80", "\xf4\x90\x80\x80",
          "\xf5\x80\x80\x80", "\xff"}) {
        EXPECT_EQ(first_character(text).code, NO_CHARACTER);
        EXPECT_EQ(first_character(text).length, 1U);
        EXPECT_FALSE(is_utf8("a"s + text));
    }
    EXPECT_TRUE(is_utf8(""));
}
