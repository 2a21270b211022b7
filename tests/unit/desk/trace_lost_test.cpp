#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
// A part of the traffic was not read.
class LostTrace : public DeskTest {
  protected:
    const live_router& main = *find_live(std::as_const(desk), "main");
};
} // namespace

TEST_F(LostTrace, ConfirmsByTheReportAlone)
{
    const auto sent = wish(anna, 0, 2);
    takes(0, 2);
    const auto queued = wish(anna, 1, 2);
    trace_lost(desk, "main");
    report(0, 2);
    report(1, 2);
    EXPECT_EQ(became(sent), "confirmed");
    EXPECT_EQ(became(queued), "confirmed");
    EXPECT_EQ(row_of(queued).sent_after, std::nullopt);
}

TEST_F(LostTrace, MakesAnswersAmbiguous)
{
    const auto one = wish(anna, 0, 2);
    const auto other = wish(anna, 1, 2);
    const auto later = wish(anna, 2, 2);
    takes(0, 2);
    trace_query(desk, "main", 1);
    takes(1, 2);
    trace_query(desk, "main", 2);
    trace_lost(desk, "main");
    EXPECT_THAT(main.queries_under_way, IsEmpty());
    trace_take_answer(desk, now, "main", "NAK");
    trace_query(desk, "main", 0);
    shows(0, 0);
    EXPECT_EQ(became(one), "sent");
    trace_query(desk, "main", 1);
    shows(1, 3);
    report(1, 3);
    EXPECT_EQ(became(other),
              "contradicted: the router shows CAM 4 instead: taken by somebody else");
    takes(2, 2);
    shows(2, 0);
    EXPECT_EQ(became(later), "sent"); // the answer may be to a query that was not read
}

TEST_F(LostTrace, LeavesOpenWhetherAQueuedWishWasSent)
{
    const auto old = wish(anna, 0, 2);
    const auto queued = wish(anna, 0, 3);
    const auto held = wish(anna, 0, 2);
    trace_lost(desk, "main");
    const auto after = wish(anna, 1, 3);
    report(0, 2);
    EXPECT_EQ(became(old), "confirmed");
    report_backend_ended(desk, now, "main");
    EXPECT_EQ(became(queued),
              "timed out: it may have been sent: part of the traffic could not be read");
    EXPECT_EQ(became(after), "not sent backendEnded: the backend was ended before it was sent");
    EXPECT_NE(became(held), "held");
}

TEST_F(LostTrace, SupersedesNoWishThatMayHaveBeenSent)
{
    const auto old = wish(anna, 0, 2);
    trace_lost(desk, "main");
    const auto newer = wish(ben, 0, 3);
    takes(0, 3);
    EXPECT_EQ(became(old),
              "timed out: it may have been sent: part of the traffic could not be read");
    EXPECT_EQ(became(newer), "sent");
}

TEST_F(LostTrace, LeavesABackendThatMayHoldAChange)
{
    const auto one = wish(anna, 0, 2);
    trace_lost(desk, "main");
    report(0, 2);
    EXPECT_EQ(became(one), "confirmed");
    ordered();
    link(link_state::down);
    EXPECT_THAT(ordered(), ElementsAre("end main"));
    report_backend_ended(desk, now, "main");
    link(link_state::ready);
    link(link_state::down);
    EXPECT_THAT(ordered(), IsEmpty());
}

// What nothing tells any more is told by reports as before.
TEST_F(LostTrace, ForgetsThatADestinationShowsNoSource)
{
    shows(0, NO_SOURCE);
    trace_lost(desk, "main");
    report(0, 3);
    EXPECT_EQ(source_shown(main, 0), 3);
}

TEST_F(LostTrace, LeavesNothingWithABackendWhoseTakesAreRead)
{
    wish(anna, 0, 2);
    trace_lost(desk, "main");
    carry_out(0, 2);
    wish(anna, 0, 3);
    wish(ben, 0, 4); // supersedes the one before
    carry_out(0, 4);
    ordered();
    link(link_state::down);
    EXPECT_THAT(ordered(), IsEmpty());
}

// Confirmed by what the router shows already, the first wish leaves its change with the backend.
TEST_F(LostTrace, GivesNoWishTheTakeOfOneThatHasEnded)
{
    wish(anna, 0, 2);
    trace_lost(desk, "main");
    report(0, 2);
    report(0, 5);
    wish(anna, 1, 3);
    carry_out(1, 3);
    const auto again = wish(ben, 0, 2);
    takes(0, 2);
    shows(0, 5);
    report(0, 2);
    EXPECT_EQ(became(again), "queued");
    shows(0, 2);
    report(0, 2);
    EXPECT_EQ(became(again), "confirmed");
    EXPECT_EQ(row_of(again).sent_after, std::nullopt);
}

TEST_F(LostTrace, BlamesNoWishForTheRefusalOfOneThatHasEnded)
{
    wish(anna, 0, 2);
    trace_lost(desk, "main");
    report(0, 2);
    report(0, 5);
    const auto older = wish(anna, 0, 3);
    const auto again = wish(ben, 0, 2);
    takes(0, 2);
    trace_take_answer(desk, now, "main", "NAK");
    EXPECT_EQ(became(older), "queued");
    EXPECT_EQ(became(again), "queued");
}

TEST_F(LostTrace, KnowsTakesAgainAfterOneOfAnotherSource)
{
    wish(anna, 0, 2);
    trace_lost(desk, "main");
    report(0, 2);
    wish(anna, 0, 3);
    carry_out(0, 3);
    const auto again = wish(ben, 0, 2);
    takes(0, 2);
    EXPECT_EQ(became(again), "sent");
}
