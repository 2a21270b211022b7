#include "server/desk/people.h"
#include "server/desk/undo.h"
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::IsEmpty;
using testing::SizeIs;

namespace {
struct People : DeskTest {
    // Which a restart makes again, also for somebody else of this id.
    People()
    {
        wish(anna, 1, 3);
        carry_out(1, 3);
        wait_ms(1000);
        wish(anna, 2, 3);
        carry_out(2, 3);
    }
};
} // namespace

TEST_F(People, HaveNoStepsThatAreOlder)
{
    forget_steps_before(desk.house, "anna", now.utc);
    EXPECT_THAT(undo_steps(desk.house, now, "anna"), SizeIs(1));
    forget_steps_before(desk.house, "anna", now.utc + wall(1));
    EXPECT_THAT(desk.house.undo, IsEmpty());
    forget_steps_before(desk.house, "anna", now.utc);
}

TEST_F(People, KeepTheirStepsWhenTheClockIsSetBack)
{
    const wall created = now.utc;
    now.utc -= std::chrono::hours(1);
    wish(anna, 3, 3);
    carry_out(3, 3);
    forget_steps_before(desk.house, "anna", created);
    EXPECT_THAT(undo_steps(desk.house, now, "anna"), SizeIs(2));
}

TEST_F(People, LeaveWhatIsOfOthersAsItIs)
{
    wish(ben, 4, 2);
    record_entry(
        desk, {now.utc, "ben", "", lock_set{"main", 5, {lock_mode::lock, "ben", "", now.utc, {}}}});
    forget_told();
    forget_person(desk, now, eve, "anna");
    EXPECT_THAT(desk.house.undo, SizeIs(1));
    EXPECT_EQ(desk.house.routers.at("main").locks.at(5).owner, "ben");
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(People, LeaveLocksUntilTheirTime)
{
    const lock on_air{lock_mode::protect, "anna", "on air", now.utc, now.utc + wall(5000)};
    record_entry(desk, {now.utc, "anna", "", lock_set{"main", 5, on_air}});
    forget_told();
    forget_person(desk, now, eve, "anna");
    EXPECT_EQ(lock_text(desk, "main", 5), "MON F is protected by anna (removed) (on air)");
    EXPECT_THAT(desk.entries, SizeIs(1));
    EXPECT_EQ(desk.entries[0].person, "eve");
    wait_ms(5001);
    EXPECT_THAT(desk.house.routers.at("main").locks, IsEmpty());
}
