#include <gtest/gtest.h>

#include "console/tables.h"
#include "tools/common/text_width.h"

using namespace console;

TEST(Tables, TextIsCutAtACharacterThatStillFits)
{
    struct {
        const char* text;
        std::size_t places;
        const char* fitted;
    } const cases[] = {
        {"CAM 1", 5, "CAM 1"},  {"CAM 12", 5, "CAM …"}, {"监视器", 6, "监视器"},
        {"监视器", 5, "监视…"}, {"监视器", 4, "监…"},   {"🎥🎥🎥", 4, "🎥…"},
        {"é́é́é́", 2, "é́…"},       {"ab", 1, "…"},         {"\x80\x80\x80", 2, "…"},
    };
    for (const auto& [text, places, fitted] : cases) {
        EXPECT_EQ(fit_text(text, places), fitted) << text << " in " << places;
        EXPECT_LE(common::display_width(fit_text(text, places)), places);
    }
}

TEST(Tables, WidestColumnsAreCutFirst)
{
    const common::text_table table{
        "", {{"#", true}, {"A"}, {"B"}}, {{"1", std::string(40, 'a'), std::string(20, 'b')}}};
    const auto line = [](std::size_t a, std::size_t b) {
        const auto cut = [](std::size_t width, std::size_t whole, char letter) {
            return width < whole ? std::string(width - 1, letter) + "…"
                                 : std::string(width, letter);
        };
        return "\n1  " + cut(a, 40, 'a') + "  " + cut(b, 20, 'b') + "\n";
    };
    struct {
        std::size_t width;
        std::size_t a, b;
    } const cases[] = {{0, 40, 20}, {65, 40, 20}, {64, 39, 20}, {45, 20, 20}, {10, 8, 8}};
    for (const auto& [width, a, b] : cases) {
        const std::string text = fitted_table(table, width);
        EXPECT_EQ(text.substr(text.find('\n')), line(a, b)) << width;
    }
}

TEST(Tables, ColumnsWithoutAnEntryAreLeftOut)
{
    EXPECT_EQ(fitted_table({"", {{"A"}, {"B"}, {"C"}}, {{"1", "", "2"}, {"3", "", ""}}}, 0),
              "A  C\n1  2\n3\n");
}
