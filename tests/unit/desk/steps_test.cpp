#include <gmock/gmock.h>

#include "server/desk/start.h"
#include "server/desk/steps.h"

using namespace desk;
using testing::IsEmpty;

namespace {
class Steps : public testing::Test {
  protected:
    desk_state desk = make_desk(1);

    Steps()
    {
        desk.live["main"];
        router_settings settings;
        settings.id = "main";
        record(router_set{settings});
    }

    template <typename Kind>
    void record(const Kind& what)
    {
        record_entry(desk, {wall(5), "anna", "test", what});
    }

    void lock_until(int destination, std::optional<wall> until)
    {
        record(lock_set{"main", destination, {lock_mode::lock, "anna", "", {}, until}});
    }
};
} // namespace

TEST_F(Steps, CarryEntriesOutAndKeepThem)
{
    EXPECT_TRUE(desk.house.routers.contains("main"));
    ASSERT_EQ(desk.entries.size(), 1);
    EXPECT_EQ(desk.entries[0].at, wall(5));
    EXPECT_EQ(desk.entries[0].person, "anna");
    EXPECT_TRUE(std::holds_alternative<router_set>(desk.entries[0].what));
}

TEST_F(Steps, TellChangesOfARouter)
{
    tell_change(desk, "main", change::kind::fact, 3);
    tell_change(desk, "none", change::kind::fact, 3);
    tell_change(desk, "main", change::kind::wish, 4, {1, 2});
    ASSERT_EQ(desk.changes.size(), 2);
    EXPECT_EQ(desk.changes[0].what, change::kind::fact);
    EXPECT_EQ(desk.changes[0].router, "main");
    EXPECT_EQ(desk.changes[0].revision, 1);
    EXPECT_EQ(desk.changes[0].position, 3);
    EXPECT_EQ(desk.changes[1].revision, 2);
    EXPECT_EQ(desk.changes[1].id, (ulid{1, 2}));
    EXPECT_EQ(desk.live["main"].revision, 2);
}

TEST_F(Steps, TellChangesOfTheHouse)
{
    tell_house_change(desk, change::kind::salvo, {1, 2});
    tell_house_change(desk, change::kind::routers);
    ASSERT_EQ(desk.changes.size(), 2);
    EXPECT_EQ(desk.changes[0].router, "");
    EXPECT_EQ(desk.changes[0].position, 0);
    EXPECT_EQ(desk.changes[0].revision, 1);
    EXPECT_EQ(desk.changes[0].id, (ulid{1, 2}));
    EXPECT_EQ(desk.changes[1].what, change::kind::routers);
    EXPECT_EQ(desk.changes[1].revision, 2);
}

TEST_F(Steps, TellStagesWithTheRoutersRevision)
{
    tell_stage_change(desk, "anna", "main");
    ASSERT_EQ(desk.changes.size(), 1);
    EXPECT_EQ(desk.changes[0].what, change::kind::stage);
    EXPECT_EQ(desk.changes[0].person, "anna");
    EXPECT_EQ(desk.changes[0].router, "main");
    EXPECT_EQ(desk.changes[0].revision, 1);
    EXPECT_EQ(desk.live["main"].revision, 1);
    EXPECT_EQ(desk.changes[0].position, 0);
}

TEST_F(Steps, KnowWhenLocksEnd)
{
    using ends = decltype(desk.lock_ends);
    lock_until(1, wall(10));
    lock_until(2, wall(20));
    lock_until(3, std::nullopt);
    EXPECT_EQ(desk.lock_ends, (ends{{wall(10), {"main", 1}}, {wall(20), {"main", 2}}}));
    lock_until(2, wall(5));
    EXPECT_EQ(desk.lock_ends, (ends{{wall(5), {"main", 2}}, {wall(10), {"main", 1}}}));
    record(lock_removed{"main", 2, lock_end::released, "anna", ""});
    EXPECT_EQ(desk.lock_ends, (ends{{wall(10), {"main", 1}}}));
    lock_until(4, wall(30));
    record(router_removed{"main"});
    EXPECT_THAT(desk.lock_ends, IsEmpty());
    lock_until(4, wall(30));
    EXPECT_THAT(desk.lock_ends, IsEmpty());
}

TEST_F(Steps, CountWhatIsSetUp)
{
    EXPECT_EQ(desk.set_ups, 1);
    record(label_set{"main", side::sources, 0, {"A", ""}});
    EXPECT_EQ(desk.set_ups, 1);
    record(router_removed{"main"});
    EXPECT_EQ(desk.set_ups, 2);
}
