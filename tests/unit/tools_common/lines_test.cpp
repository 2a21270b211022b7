#include <gmock/gmock.h>

#include "tools/common/lines.h"

using common::cut_lines;
using testing::ElementsAre;

namespace {
class CutLines : public testing::Test {
  protected:
    std::string partial;
    std::deque<std::string> lines;
};
} // namespace

TEST_F(CutLines, PutsPiecesTogether)
{
    cut_lines("one\n\ntw", partial, lines);
    EXPECT_THAT(lines, ElementsAre("one", ""));
    EXPECT_EQ(partial, "tw");
    cut_lines("", partial, lines);
    cut_lines("o\nthree\n", partial, lines);
    EXPECT_THAT(lines, ElementsAre("one", "", "two", "three"));
    EXPECT_EQ(partial, "");
}

TEST_F(CutLines, MakesTheSameLinesWhereverTheStreamIsCut)
{
    const std::string stream = "a\nbcde\n\nf\r\n12345678\ng";
    for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
        partial.clear();
        lines.clear();
        cut_lines(stream.substr(0, cut), partial, lines, 4);
        cut_lines(stream.substr(cut), partial, lines, 4);
        EXPECT_THAT(lines, ElementsAre("a", "bcde", "", "f\r", "12345")) << cut;
        EXPECT_EQ(partial, "g");
    }
}

TEST_F(CutLines, KeepsNoMoreOfALineWithoutEndThanShowsThatItIsTooLong)
{
    for (int i = 0; i < 10; ++i)
        cut_lines("abc", partial, lines, 5);
    EXPECT_EQ(partial, "abcabc");
    cut_lines("abc\nde", partial, lines, 5);
    EXPECT_THAT(lines, ElementsAre("abcabc"));
    EXPECT_EQ(partial, "de");
}
