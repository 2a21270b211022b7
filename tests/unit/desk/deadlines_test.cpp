#include "unit/desk/desk_test.h"

using namespace desk;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class Deadlines : public DeskTest {
  protected:
    std::optional<monotonic> due_in() const
    {
        const auto due = next_due(desk, now);
        return due ? std::optional(*due - now.steady) : std::nullopt;
    }

    void lock_until(int destination, std::optional<wall> until)
    {
        record_entry(
            desk, {now.utc, "anna", "",
                   lock_set{"main", destination, {lock_mode::lock, "anna", "", now.utc, until}}});
    }
};
} // namespace

TEST_F(Deadlines, AreNoneWithoutWishesAndLocks)
{
    EXPECT_EQ(due_in(), std::nullopt);
    lock_until(1, std::nullopt);
    EXPECT_EQ(due_in(), std::nullopt);
}

TEST_F(Deadlines, AreTheNextOfAll)
{
    wish(anna, 0, 2);
    EXPECT_EQ(due_in(), SEND_LIMIT);
    lock_until(1, now.utc + seconds(6));
    EXPECT_EQ(due_in(), SEND_LIMIT);
    lock_until(2, now.utc + seconds(4));
    EXPECT_EQ(due_in(), seconds(4));
    wait_ms(100);
    takes(0, 2);
    EXPECT_EQ(due_in(), CONFIRMATION_LIMIT);
    carry_out(0, 2);
    shows(0, 2);
    EXPECT_EQ(due_in(), milliseconds(3900));
}

TEST_F(Deadlines, EndSentWishesAfterTheRoutersLimit)
{
    desk.house.routers["main"].settings.confirmation_limit = milliseconds(700);
    const auto one = wish(anna, 0, 2);
    wait_ms(4000);
    takes(0, 2);
    wait_ms(699);
    EXPECT_EQ(became(one), "sent");
    wait_ms(1);
    EXPECT_EQ(became(one), "timed out");
    EXPECT_EQ(row_of(one).ended_after, milliseconds(4700));
    EXPECT_EQ(due_in(), std::nullopt);
    EXPECT_THAT(ordered(), ElementsAre("main 0<2"));
}

TEST_F(Deadlines, EndABackendThatHoldsAWishForTooLong)
{
    const auto old = wish(anna, 0, 2);
    wait_ms(1000);
    const auto young = wish(anna, 1, 2);
    ordered();
    wait_ms(3999);
    EXPECT_THAT(ordered(), IsEmpty());
    wait_ms(1);
    EXPECT_THAT(ordered(), ElementsAre("end main"));
    EXPECT_EQ(became(old), "queued");
    EXPECT_EQ(said(wish(anna, 2, 2)), "linkNotReady: the link to Main is about to be made anew");
    wait_ms(0);
    EXPECT_THAT(ordered(), IsEmpty()); // once
    report_backend_ended(desk, now, "main");
    EXPECT_EQ(became(old), "not sent notSentInTime: it could not be sent in time");
    EXPECT_EQ(became(young), "not sent backendEnded: the backend was ended before it was sent");
    EXPECT_EQ(due_in(), std::nullopt);
}

TEST_F(Deadlines, OrderTheEndOfABackendOnce)
{
    wish(anna, 0, 2);
    wait_ms(1000);
    wish(anna, 1, 2);
    ordered();
    wait_ms(4000);
    wait_ms(1000);
    EXPECT_THAT(ordered(), ElementsAre("end main"));
    EXPECT_EQ(due_in(), std::nullopt);
}

TEST_F(Deadlines, EndHeldWishesWithTheBackend)
{
    wish(anna, 0, 2);
    wish(anna, 0, 3);
    const auto held = wish(anna, 0, 2);
    ordered();
    wait_ms(5000);
    EXPECT_EQ(became(held), "not sent notSentInTime: it could not be sent in time");
    EXPECT_THAT(ordered(), ElementsAre("end main"));
    report_backend_ended(desk, now, "main");
    EXPECT_THAT(ordered(), IsEmpty());
}

TEST_F(Deadlines, SendAWishWhoseBackendIsEnding)
{
    const auto one = wish(anna, 0, 2);
    wait_ms(5000);
    takes(0, 2);
    EXPECT_EQ(became(one), "sent");
    report_backend_ended(desk, now, "main");
    EXPECT_EQ(became(one), "sent");
    wait_ms(3000);
    EXPECT_EQ(became(one), "timed out");
}

TEST_F(Deadlines, EndLocks)
{
    lock_until(1, now.utc + seconds(2));
    lock_until(2, now.utc + seconds(3));
    forget_told();
    wait_ms(1999);
    EXPECT_THAT(desk.entries, IsEmpty());
    wait_ms(1);
    ASSERT_EQ(desk.entries.size(), 1);
    const auto& removed = std::get<lock_removed>(desk.entries[0].what);
    EXPECT_EQ(removed.router, "main");
    EXPECT_EQ(removed.destination, 1);
    EXPECT_EQ(removed.how, lock_end::expired);
    EXPECT_EQ(removed.owner, "anna");
    EXPECT_EQ(desk.entries[0].person, "");
    EXPECT_THAT(changed(), ElementsAre(std::pair(change::kind::lock, 1)));
    EXPECT_TRUE(desk.house.routers["main"].locks.contains(2));
    wait_ms(1000);
    EXPECT_FALSE(desk.house.routers["main"].locks.contains(2));
}
