#include "server/desk/locks.h"
#include "server/desk/notices.h"
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {
class Notices : public DeskTest {
  protected:
    void break_lock(const actor& owner, int destination = 3)
    {
        set_lock(desk, now, owner, "main", destination, lock_mode::lock, "on air", {});
        forget_told();
        remove_lock(desk, now, eve, "main", destination, true, "wrong studio");
    }

    std::vector<std::pair<ulid, notice>> of(const std::string& person) const
    {
        return notices_of(desk.house, person, now.utc);
    }
};
} // namespace

TEST_F(Notices, TellWhoseLockWasBroken)
{
    break_lock(anna);
    ASSERT_THAT(of("anna"), SizeIs(1));
    EXPECT_EQ(of("anna")[0].second, (notice{"anna", now.utc, "eve", "main", 3, "wrong studio"}));
    EXPECT_THAT(of("eve"), IsEmpty());
    ASSERT_THAT(desk.changes, SizeIs(2));
    EXPECT_EQ(desk.changes[1].what, change::kind::notice);
    EXPECT_EQ(desk.changes[1].person, "anna");
    EXPECT_EQ(desk.changes[1].id, of("anna")[0].first);
    EXPECT_EQ(desk.changes[1].revision, 0U);
}

TEST_F(Notices, AreNotOfOnesOwnLock)
{
    break_lock(eve);
    EXPECT_THAT(desk.house.notices, IsEmpty());
    EXPECT_THAT(changed(), ElementsAre(std::pair(change::kind::lock, 3)));
}

TEST_F(Notices, AreDismissedByWhoIsTold)
{
    break_lock(anna);
    const ulid id = of("anna")[0].first;
    forget_told();
    dismiss_notice(desk, now, ben, id);
    dismiss_notice(desk, now, anna, {1, 1});
    EXPECT_THAT(of("anna"), SizeIs(1));
    EXPECT_THAT(desk.entries, IsEmpty());
    dismiss_notice(desk, now, anna, id);
    EXPECT_THAT(of("anna"), IsEmpty());
    EXPECT_THAT(desk.entries, SizeIs(1));
    EXPECT_EQ(desk.changes.back().id, id);
}

TEST_F(Notices, AreToldForADay)
{
    break_lock(anna);
    now.utc += NOTICE_AGE;
    EXPECT_THAT(of("anna"), SizeIs(1));
    now.utc += wall(1);
    EXPECT_THAT(of("anna"), IsEmpty());
    EXPECT_THAT(desk.house.notices, SizeIs(1));
    break_lock(ben);
    EXPECT_THAT(desk.house.notices, SizeIs(1)) << "the old one has gone";
}

TEST_F(Notices, AreBoundedForEachPerson)
{
    break_lock(ben);
    break_lock(anna, 0);
    for (std::size_t i = 0; i < NOTICES; ++i)
        break_lock(anna, 1);
    EXPECT_THAT(of("anna"), SizeIs(NOTICES));
    EXPECT_EQ(of("anna").front().second.destination, 1);
    EXPECT_THAT(of("ben"), SizeIs(1));
}
