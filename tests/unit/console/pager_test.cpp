#include <gmock/gmock.h>

#include "console/pager.h"
#include "console/screen_rows.h"

using namespace console;

using testing::ElementsAre;

TEST(ScreenRows, WrapLines)
{
    EXPECT_EQ(rows_of("", 4), 1U);
    EXPECT_EQ(rows_of("abcd", 4), 1U);
    EXPECT_EQ(rows_of("abcde", 4), 2U);
    EXPECT_EQ(rows_of("abcdefghi", 4), 3U);
    EXPECT_EQ(rows_of("日本", 4), 1U);
    EXPECT_EQ(rows_of("a日本", 4), 2U) << "the wide one goes into the next row";
    EXPECT_EQ(rows_of("a日本b", 4), 2U);
    EXPECT_EQ(rows_of("a日本bc", 4), 2U) << "not three";
}

TEST(ScreenRows, HaveTheCursor)
{
    EXPECT_EQ(cursor_row("", 4), 0U);
    EXPECT_EQ(cursor_row("abc", 4), 0U);
    EXPECT_EQ(cursor_row("abcd", 4), 1U);
    EXPECT_EQ(cursor_row("a日本", 4), 1U);
    EXPECT_EQ(cursor_row("a日本b", 4), 1U);
    EXPECT_EQ(cursor_row("a日本bc", 4), 2U);
}

TEST(Pager, IsNeededForWhatIsLongerThanTheScreen)
{
    EXPECT_TRUE(fits_screen("", {3, 4}));
    EXPECT_TRUE(fits_screen("a\nb\n", {3, 4}));
    EXPECT_FALSE(fits_screen("a\nb\nc\n", {3, 4}));
    EXPECT_FALSE(fits_screen("a\nabcde\n", {3, 4}));
}

TEST(Pager, GoesOnByScreensAndLines)
{
    pager pager = make_pager("1\n2\n3\n4\n5\n6\n7\n");
    EXPECT_EQ(next_screen(pager, {3, 4}), "1\n2\n");
    EXPECT_EQ(next_line(pager), "3\n");
    EXPECT_FALSE(is_at_end(pager));
    EXPECT_EQ(next_screen(pager, {5, 4}), "4\n5\n6\n7\n");
    EXPECT_TRUE(is_at_end(pager));
    EXPECT_EQ(next_line(pager), "");
}

TEST(Pager, CountsRowsOfWrappedLines)
{
    pager pager = make_pager("abcdefgh\n2\n3\nabcdefghijklmnopq\n5");
    EXPECT_EQ(next_screen(pager, {4, 4}), "abcdefgh\n2\n");
    EXPECT_EQ(next_screen(pager, {4, 4}), "3\n");
    EXPECT_EQ(next_screen(pager, {4, 4}), "abcdefghijklmnopq\n") << "also when it fits nowhere";
    EXPECT_EQ(next_screen(pager, {4, 4}), "5\n");
    EXPECT_TRUE(is_at_end(pager));
}

TEST(Pager, GoesBack)
{
    pager pager = make_pager("1\n2\n3\n4\n5\n6\n7\n");
    next_screen(pager, {3, 4});
    next_screen(pager, {3, 4});
    EXPECT_EQ(next_screen(pager, {3, 4}), "5\n6\n");
    EXPECT_EQ(screen_before(pager, {3, 4}), "3\n4\n");
    EXPECT_EQ(screen_before(pager, {3, 4}), "1\n2\n");
    EXPECT_EQ(screen_before(pager, {3, 4}), "1\n2\n");
    EXPECT_EQ(next_screen(pager, {3, 4}), "3\n4\n");
}
