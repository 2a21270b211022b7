#include <gmock/gmock.h>

#include "server/routers/untold_routes.h"

using namespace routers;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(UntoldRoutes, AreFoundWhenNoRecordHasBroughtThem)
{
    untold_routes untold;
    note_told(untold, 10s, 3, 5);
    EXPECT_EQ(untold.due, 11s);
    EXPECT_THAT(take_overdue(untold, 11s - 1us), IsEmpty());
    EXPECT_THAT(take_overdue(untold, 11s), ElementsAre(Pair(3, 5)));
    EXPECT_THAT(take_overdue(untold, 12s), IsEmpty());
    EXPECT_FALSE(untold.due);
}

TEST(UntoldRoutes, AreNoneWhenARecordHasBroughtThem)
{
    untold_routes untold;
    note_told(untold, 10s, 3, 5);
    note_told(untold, 10s, 4, 5);
    note_reported(untold, {{2, 5}, {3, 5}, {4, 6}});
    EXPECT_THAT(take_overdue(untold, 11s), ElementsAre(Pair(4, 5)));
}

TEST(UntoldRoutes, CountFromTheFirstThatToldTheSame)
{
    untold_routes untold;
    note_told(untold, 10s, 3, 5);
    note_told(untold, 10s, 4, 5);
    note_told(untold, 10500ms, 3, 5);
    note_told(untold, 10500ms, 4, 6);
    EXPECT_THAT(take_overdue(untold, 11s), ElementsAre(Pair(3, 5)));
    EXPECT_EQ(untold.due, 12s);
    EXPECT_THAT(take_overdue(untold, 12s), ElementsAre(Pair(4, 6)));
}

TEST(UntoldRoutes, AreFoundOnceInASecond)
{
    untold_routes untold;
    note_told(untold, 10s, 3, 5);
    note_told(untold, 10100ms, 4, 5);
    EXPECT_THAT(take_overdue(untold, 11s), ElementsAre(Pair(3, 5)));
    EXPECT_THAT(take_overdue(untold, 11900ms), IsEmpty());
    EXPECT_THAT(take_overdue(untold, 12s), ElementsAre(Pair(4, 5)));
}

TEST(UntoldRoutes, AreThoseOfAQueryWithoutAnAnswer)
{
    untold_routes untold;
    note_unanswered(untold, 10s, 3);
    note_unanswered(untold, 10500ms, 3);
    note_unanswered(untold, 10s, 4);
    EXPECT_EQ(untold.due, 11s);
    note_told(untold, 10600ms, 4, 5);
    note_reported(untold, {{3, 5}, {4, 5}}); // of before the query, for all that is known
    EXPECT_THAT(take_overdue(untold, 11s), ElementsAre(Pair(3, desk::UNKNOWN_SOURCE)));
    EXPECT_EQ(untold.due, 12s);
    EXPECT_THAT(take_overdue(untold, 20s), IsEmpty());
    EXPECT_THAT(take_overdue(untold, 21s), ElementsAre(Pair(3, desk::UNKNOWN_SOURCE)));
    note_told(untold, 22s, 3, 5);
    EXPECT_THAT(take_overdue(untold, 31s), ElementsAre(Pair(3, 5)));
    EXPECT_THAT(take_overdue(untold, 41s), IsEmpty());
    EXPECT_FALSE(untold.due);
}
