#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

namespace {
class Wishes : public DeskTest {
  protected:
    const live_router& main = *find_live(std::as_const(desk), "main");
};
} // namespace

TEST_F(Wishes, AreOrderedAsTheyCome)
{
    wish(anna, 0, 2);
    wish(ben, 0, 3);
    wish(ben, 1, 2);
    EXPECT_THAT(ordered(), ElementsAre("main 0<2", "main 0<3", "main 1<2"));
}

TEST_F(Wishes, AreHeldWhileTheirTakeCouldBeAnOlderOnes)
{
    const auto older = wish(anna, 0, 2);
    const auto between = wish(ben, 0, 3);
    ordered();
    const auto held = wish(anna, 0, 2);
    EXPECT_EQ(became(held), "held");
    EXPECT_THAT(ordered(), IsEmpty());
    takes(0, 2);
    EXPECT_EQ(became(older), "sent");
    EXPECT_EQ(became(between), "queued");
    EXPECT_EQ(became(held), "queued");
    EXPECT_THAT(ordered(), ElementsAre("main 0<2"));
}

TEST_F(Wishes, AreHeldNoLongerWhenTheOlderOneIsSuperseded)
{
    wish(anna, 0, 2);
    wish(ben, 0, 3);
    const auto held = wish(anna, 0, 2);
    ordered();
    takes(0, 3);
    EXPECT_EQ(became(held), "queued");
    EXPECT_THAT(ordered(), ElementsAre("main 0<2"));
}

TEST_F(Wishes, AreHeldRightBehindOneForTheSameSource)
{
    wish(anna, 0, 2);
    const auto held = wish(ben, 0, 2);
    wish(anna, 1, 2);
    ordered();
    takes(1, 2);
    EXPECT_EQ(became(held), "held");
    takes(0, 2);
    EXPECT_EQ(became(held), "queued");
    EXPECT_THAT(ordered(), ElementsAre("main 0<2"));
}

TEST_F(Wishes, AreNotHeldForAnOlderOneThatWasSent)
{
    wish(anna, 0, 2);
    takes(0, 2);
    wish(ben, 0, 3);
    const auto again = wish(anna, 0, 2);
    EXPECT_EQ(became(again), "queued");
}

TEST_F(Wishes, ReplaceAHeldOne)
{
    wish(anna, 0, 2);
    wish(ben, 0, 3);
    const auto held = wish(anna, 0, 2);
    ordered();
    const auto same = wish(ben, 0, 2);
    EXPECT_EQ(became(held), "superseded: ben asked for CAM 3 before it was sent");
    EXPECT_EQ(became(same), "held");
    const auto newer = wish(ben, 0, 4);
    EXPECT_EQ(became(same), "superseded: ben asked for CAM 5 before it was sent");
    EXPECT_EQ(became(newer), "queued");
    EXPECT_THAT(ordered(), ElementsAre("main 0<4"));
}

TEST_F(Wishes, KeepTheirTimes)
{
    const auto one = wish(anna, 0, 2);
    wait_ms(20);
    takes(0, 2);
    wait_ms(10);
    trace_take_answer(desk, now, "main", "");
    shows(0, 2);
    wait_ms(20);
    report(0, 2);
    EXPECT_EQ(row_of(one).sent_after, std::chrono::milliseconds(20));
    EXPECT_EQ(row_of(one).answered_after, std::chrono::milliseconds(30));
    EXPECT_EQ(row_of(one).ended_after, std::chrono::milliseconds(50));
    EXPECT_EQ(row_of(one).was, 0);
}

TEST_F(Wishes, KeepWhenTheyWereRefused)
{
    const auto one = wish(anna, 0, 2);
    const auto other = wish(anna, 1, 2);
    takes(0, 2);
    takes(1, 2);
    wait_ms(30);
    refuses(0, "NAK");
    EXPECT_EQ(became(one), "refused: NAK");
    EXPECT_EQ(row_of(one).answered_after, std::chrono::milliseconds(30));
    wait_ms(3000);
    EXPECT_EQ(became(other), "timed out");
    EXPECT_EQ(row_of(other).answered_after, std::nullopt);
}

TEST_F(Wishes, TellBeginSentAndEnd)
{
    const auto one = wish(anna, 0, 2);
    EXPECT_THAT(changed(), ElementsAre(Pair(change::kind::batch, 0), Pair(change::kind::wish, 0)));
    takes(0, 2);
    EXPECT_THAT(changed(), ElementsAre(Pair(change::kind::wish, 0)));
    trace_take_answer(desk, now, "main", "NAK");
    EXPECT_THAT(changed(), ElementsAre(Pair(change::kind::wish, 0)));
    shows(0, 0);
    ASSERT_THAT(desk.changes, SizeIs(1));
    EXPECT_EQ(desk.changes[0].what, change::kind::wish);
    EXPECT_EQ(desk.changes[0].id, one.batch);
}

TEST_F(Wishes, LeaveNothingBehindWhenTheyEnd)
{
    wish(anna, 0, 2);
    carry_out(0, 2);
    EXPECT_THAT(main.open, IsEmpty());
    EXPECT_THAT(desk.deadlines, IsEmpty());
}

TEST_F(Wishes, AreTroubleUntilANewOne)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    refuses(0, "NAK");
    EXPECT_THAT(troubles(), ElementsAre(Pair(0, wish_id{one.batch, 0})));
    wish(anna, 0, 3);
    EXPECT_THAT(main.troubled, IsEmpty());
}

TEST_F(Wishes, AreNoTroubleWhenANewerOneIsOpen)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    wish(anna, 0, 3);
    refuses(0, "NAK");
    EXPECT_EQ(became(one), "refused: NAK");
    EXPECT_THAT(main.troubled, IsEmpty());
}

TEST_F(Wishes, AreNoTroubleWhenANewerOneIs)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    const auto newer = wish(anna, 0, 3);
    takes(0, 3);
    trace_take_answer(desk, now, "main", "");
    refuses(0, "NAK");
    wait_ms(3000);
    EXPECT_EQ(became(one), "timed out");
    EXPECT_THAT(troubles(), ElementsAre(Pair(0, wish_id{newer.batch, 0})));
}

TEST_F(Wishes, OfABatchThatIsForgottenAreNoTrouble)
{
    take_request request;
    request.id = {0, 1}; // the oldest
    request.rows = {{{"main", 0, 2}, {}}};
    take(desk, now, anna, request);
    for (std::uint64_t i = 0; i < BATCHES_KEPT; ++i) {
        batch open;
        open.rows.resize(1);
        desk.house.batches[{9, i}] = open;
    }
    takes(0, 2);
    refuses(0, "NAK");
    EXPECT_FALSE(desk.house.batches.contains({0, 1}));
    EXPECT_THAT(main.troubled, IsEmpty());
}
