#include <gtest/gtest.h>

#include "console/safe_text.h"

using namespace console;

#define BAD "\xEF\xBF\xBD" // U+FFFD

struct shown_text {
    const char* name;
    std::string text;
    std::string shown;
};

class SafeText : public testing::TestWithParam<shown_text> {};

TEST_P(SafeText, HasNothingThatATerminalObeys)
{
    EXPECT_EQ(safe_text(GetParam().text), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(
    Each, SafeText,
    testing::Values(
        shown_text{"Empty", "", ""}, shown_text{"Plain", "MON A ~\n CAM 3\n", "MON A ~\n CAM 3\n"},
        shown_text{"Wide", "カメラ 1 🎥 é", "カメラ 1 🎥 é"},
        shown_text{"Escape", "\x1B[2J\r\t\b\a", BAD "[2J" BAD BAD BAD BAD},
        shown_text{"Nul", std::string("a\0b", 3), "a" BAD "b"},
        shown_text{"Delete", "\x1F \x7F", BAD " " BAD},
        shown_text{"C1",
                   "\xC2\x9B"
                   "2J\xC2\x80\xC2\x9F\xC2\xA0",
                   BAD "2J" BAD BAD "\xC2\xA0"},
        shown_text{"Bytes", "\x9B\xFF", BAD BAD}, shown_text{"Cut", "a\xE3\x82", "a" BAD BAD},
        shown_text{"CutInside", "\xE3\x82z", BAD BAD "z"},
        shown_text{"Overlong", "\xC0\x9B\xE0\x82\x9B\xF0\x80\x82\x9B",
                   BAD BAD BAD BAD BAD BAD BAD BAD BAD},
        shown_text{"Smallest", "\xE0\xA0\x80\xF0\x90\x80\x80", "\xE0\xA0\x80\xF0\x90\x80\x80"},
        shown_text{"Surrogate", "\xED\xA0\x80", BAD BAD BAD},
        shown_text{"Largest", "\xF4\x8F\xBF\xBF\xF4\x90\x80\x80",
                   "\xF4\x8F\xBF\xBF" BAD BAD BAD BAD},
        shown_text{"Bidirectional",
                   "\xE2\x80\xAE"
                   "a\xE2\x81\xA6\xE2\x81\xA9\xE2\x80\x8E\xE2\x80\x8F\xD8\x9C",
                   BAD "a" BAD BAD BAD BAD BAD},
        shown_text{"Separators", "\xE2\x80\xA8\xE2\x80\xA9\xE2\x80\xAF\xE2\x81\xA5",
                   BAD BAD "\xE2\x80\xAF\xE2\x81\xA5"}),
    [](const auto& each) { return each.param.name; });
