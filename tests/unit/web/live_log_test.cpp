#include <gmock/gmock.h>

#include "server/web/live_limits.h"
#include "server/web/live_log.h"

using namespace web;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
live_thing route_at(int position)
{
    return {live_thing::kind::route, position, ""};
}
} // namespace

TEST(ChangeLog, TellsEachThingThatChangedSinceOnce)
{
    change_log log = begin_log(7);
    EXPECT_THAT(changed_since(log, 7), IsEmpty());
    note_change(log, 8, route_at(3));
    note_change(log, 9, route_at(1));
    note_change(log, 10, route_at(3));
    EXPECT_EQ(log.revision, 10);
    EXPECT_THAT(changed_since(log, 7), ElementsAre(route_at(1), route_at(3)));
    EXPECT_THAT(changed_since(log, 8), ElementsAre(route_at(1), route_at(3)));
    EXPECT_THAT(changed_since(log, 9), ElementsAre(route_at(3)));
    EXPECT_THAT(changed_since(log, 10), IsEmpty());
}

TEST(ChangeLog, KeepsSeveralThingsOfOneRevision)
{
    change_log log = begin_log(0);
    note_change(log, 1, route_at(2));
    note_change(log, 1, {live_thing::kind::stale, 0, ""});
    note_change(log, 1, route_at(2));
    EXPECT_EQ(changed_since(log, 0).size(), 2);
}

TEST(ChangeLog, ReachesFromItsBeginningToNow)
{
    change_log log = begin_log(7);
    note_change(log, 8, route_at(0));
    EXPECT_FALSE(reaches(log, 6));
    EXPECT_TRUE(reaches(log, 7));
    EXPECT_TRUE(reaches(log, 8));
    EXPECT_FALSE(reaches(log, 9)) << "of another instance, or a lie";
}

TEST(ChangeLog, ForgetsTheOldestThing)
{
    change_log log = begin_log(0);
    for (std::uint64_t i = 1; i <= CHANGES_KEPT; ++i)
        note_change(log, i, {live_thing::kind::row, 0, std::to_string(i)});
    EXPECT_TRUE(reaches(log, 0));
    note_change(log, CHANGES_KEPT + 1, route_at(0));
    EXPECT_FALSE(reaches(log, 0));
    EXPECT_TRUE(reaches(log, 1));
    EXPECT_EQ(changed_since(log, 1).size(), CHANGES_KEPT);
    EXPECT_EQ(log.newest.size(), CHANGES_KEPT);
}
