#include "server/desk/locks.h"
#include "unit/desk/desk_test.h"

using namespace desk;

namespace {
class Locks : public DeskTest {
  protected:
    reason set(const actor& actor, const std::string& router, int destination,
               lock_mode mode = lock_mode::lock, std::optional<wall> until = {})
    {
        const objection found =
            set_lock(desk, now, actor, router, destination, mode, "on air", until);
        EXPECT_EQ(found.why == reason::none, found.detail.empty());
        return found.why;
    }

    reason remove(const actor& actor, int destination, bool force = false,
                  const std::string& why = "")
    {
        return remove_lock(desk, now, actor, "main", destination, force, why).why;
    }

    const std::map<int, lock>& locks()
    {
        return find_router(desk, "main")->locks;
    }
};
} // namespace

TEST_F(Locks, AreSetByWhoMayRoute)
{
    const actor vera{"vera", "panel", {right::view, {}, {}}};
    EXPECT_EQ(set(vera, "main", 0), reason::no_right);
    EXPECT_EQ(set(anna, "gone", 0), reason::no_such_router);
    EXPECT_EQ(set(anna, "main", -1), reason::no_such_destination);
    EXPECT_EQ(set(anna, "main", ROUTED_POSITIONS), reason::no_such_destination);
    EXPECT_EQ(set(anna, "main", 0, lock_mode::lock, now.utc), reason::bad_value);
    EXPECT_TRUE(locks().empty());
    EXPECT_TRUE(desk.entries.empty());

    EXPECT_EQ(set(anna, "main", 0), reason::none);
    const lock expected{lock_mode::lock, "anna", "on air", now.utc, {}};
    EXPECT_EQ(locks(), (std::map<int, lock>{{0, expected}}));
}

TEST_F(Locks, OfOthersStand)
{
    set(anna, "main", 0, lock_mode::lock);
    set(anna, "main", 1, lock_mode::protect);
    const std::map<int, lock> before = locks();
    EXPECT_EQ(set(ben, "main", 0), reason::locked);
    EXPECT_EQ(set(eve, "main", 1), reason::protected_by_other);
    EXPECT_EQ(set_lock(desk, now, ben, "main", 0, lock_mode::lock, "", {}).detail,
              "MON A is locked by anna (on air)");
    EXPECT_EQ(locks(), before);
}

TEST_F(Locks, OfOnesOwnCanBeChanged)
{
    set(anna, "main", 0, lock_mode::lock);
    wait_ms(5);
    EXPECT_EQ(set(anna, "main", 0, lock_mode::protect, now.utc + wall(1)), reason::none);
    const lock expected{lock_mode::protect, "anna", "on air", now.utc, now.utc + wall(1)};
    EXPECT_EQ(locks().at(0), expected);
}

TEST_F(Locks, AreRemovedByTheirOwner)
{
    set(anna, "main", 0);
    EXPECT_EQ(remove(anna, 1), reason::nothing_to_do);
    EXPECT_EQ(remove_lock(desk, now, anna, "gone", 0, false, "").why, reason::no_such_router);
    desk.entries.clear();
    EXPECT_EQ(remove(anna, 0), reason::none);
    EXPECT_TRUE(locks().empty());
    ASSERT_EQ(desk.entries.size(), 1U);
    const auto& removed = std::get<lock_removed>(desk.entries.front().what);
    EXPECT_EQ(removed.how, lock_end::released);
    EXPECT_EQ(removed.owner, "anna");
}

TEST_F(Locks, OfOthersAreBrokenByAnEngineerWithAReason)
{
    set(anna, "main", 0);
    EXPECT_EQ(remove(ben, 0), reason::locked);
    EXPECT_EQ(remove(eve, 0), reason::locked);
    EXPECT_EQ(remove(ben, 0, true, "wrong studio"), reason::no_right);
    EXPECT_EQ(remove(eve, 0, true, " "), reason::bad_value);
    EXPECT_EQ(locks().size(), 1U);
    desk.entries.clear();
    EXPECT_EQ(remove(eve, 0, true, "wrong studio"), reason::none);
    EXPECT_TRUE(locks().empty());
    ASSERT_EQ(desk.entries.size(), 1U);
    const auto& removed = std::get<lock_removed>(desk.entries.front().what);
    EXPECT_EQ(removed.how, lock_end::broken);
    EXPECT_EQ(removed.owner, "anna");
    EXPECT_EQ(removed.reason, "wrong studio");
    EXPECT_EQ(desk.entries.front().person, "eve");
}

TEST_F(Locks, AreTold)
{
    desk.changes.clear();
    set(anna, "main", 3);
    remove(anna, 3);
    ASSERT_EQ(desk.changes.size(), 2U);
    for (const change& change : desk.changes) {
        EXPECT_EQ(change.what, change::kind::lock);
        EXPECT_EQ(change.router, "main");
        EXPECT_EQ(change.position, 3);
    }
}

TEST_F(Locks, KeepOthersOrEverybodyFromRouting)
{
    set(anna, "main", 0, lock_mode::lock);
    set(anna, "main", 1, lock_mode::protect);
    const house_router& main = *find_router(desk, "main");
    EXPECT_EQ(lock_against(main, 0, "anna"), reason::locked);
    EXPECT_EQ(lock_against(main, 0, "ben"), reason::locked);
    EXPECT_EQ(lock_against(main, 1, "anna"), reason::none);
    EXPECT_EQ(lock_against(main, 1, "ben"), reason::protected_by_other);
    EXPECT_EQ(lock_against(main, 2, "ben"), reason::none);
}

// The held wish would be sent when the one before it has been.
TEST_F(Locks, EndHeldWishesOfWhomTheyExclude)
{
    for (const lock_mode mode : {lock_mode::lock, lock_mode::protect}) {
        wish(ben, 0, 1);
        wish(ben, 0, 2);
        const auto held = wish(ben, 0, 1);
        set(anna, "main", 0, mode);
        EXPECT_EQ(row_of(held).end, outcome::not_sent);
        EXPECT_EQ(row_of(held).why, lock_against(*find_router(desk, "main"), 0, "ben"));
        EXPECT_THAT(row_of(held).detail, testing::HasSubstr("by anna (on air)"));
        forget_told();
        takes(0, 1);
        EXPECT_THAT(ordered(), testing::IsEmpty());
        carry_out(0, 2);
        remove(anna, 0);
    }
}

TEST_F(Locks, LeaveHeldWishesOfTheirOwner)
{
    wish(anna, 0, 1);
    wish(anna, 0, 2);
    const auto held = wish(anna, 0, 1);
    set(anna, "main", 0, lock_mode::protect);
    EXPECT_EQ(row_of(held).end, outcome::open);
    forget_told();
    takes(0, 1);
    EXPECT_THAT(ordered(), testing::ElementsAre("main 0<1"));
}
