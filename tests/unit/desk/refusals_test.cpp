// Nothing names the take that was refused, and an answer may have been lost: what the query behind
// it tells comes first.
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::IsEmpty;

namespace {
class Refusals : public DeskTest {
  protected:
    void refuse()
    {
        trace_take_answer(desk, now, "main", "NAK 0005");
    }
};
} // namespace

TEST_F(Refusals, WaitForTheAnswerToTheQueryBehind)
{
    trace_query(desk, "main", 0);
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    wait_ms(10);
    refuse();
    shows(0, 0);
    EXPECT_EQ(became(one), "sent") << "that was asked for before the take";
    wait_ms(10);
    shows(0, 0);
    EXPECT_EQ(became(one), "refused: NAK 0005");
    EXPECT_EQ(row_of(one).answered_after, std::chrono::milliseconds(10));
    EXPECT_EQ(row_of(one).ended_after, std::chrono::milliseconds(20));
}

// It may have been another's, when the answer to the take was lost; or another's take has put it
// there.
TEST_F(Refusals, SayWhenTheSourceIsShownAllTheSame)
{
    for (const bool asked : {true, false}) {
        const auto one = wish(anna, 0, 2);
        takes(0, 2);
        if (!asked) trace_query_unanswered(desk, now, "main", 0, true);
        if (!asked) trace_query(desk, "main", 0);
        refuse();
        shows(0, 2);
        report(0, 2);
        EXPECT_EQ(became(one), "refused: NAK 0005; CAM 3 is shown all the same");
        EXPECT_EQ(author_shown(desk, "main", 0), nullptr);
        EXPECT_THAT(outside_changes(), IsEmpty());
        report(0, 0);
        wait_ms(60'001);
        forget_told();
    }
}

TEST_F(Refusals, WaitForALaterQueryWhereTheOneBehindIsRefusedAsWell)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    refuse();
    trace_query_unanswered(desk, now, "main", 0, false);
    wait_ms(2999);
    EXPECT_EQ(became(one), "sent");
    trace_query(desk, "main", 0);
    shows(0, 2);
    EXPECT_EQ(became(one), "refused: NAK 0005; CAM 3 is shown all the same");
}

// It was there before, and then not.
TEST_F(Refusals, AreNotConfirmedByAnAnswerOfBeforeTheTake)
{
    trace_query(desk, "main", 0);
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    refuse();
    shows(0, 2);
    report(0, 2);
    EXPECT_EQ(became(one), "sent");
    shows(0, 0);
    EXPECT_EQ(became(one), "refused: NAK 0005");
}

TEST_F(Refusals, AreTheTakesInTheEnd)
{
    report(0, 0);
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    refuse();
    trace_query_unanswered(desk, now, "main", 0, true);
    shows(0, 0); // unasked, as it was before
    EXPECT_EQ(became(one), "sent");
    wait_ms(3000);
    EXPECT_EQ(became(one), "refused: NAK 0005; nothing has confirmed that");
    report(0, 2);
    EXPECT_THAT(outside_changes(), IsEmpty()) << "it may be the take's doing";
}

TEST_F(Refusals, AreTheTakesWhereNothingWasAsked)
{
    const auto one = wish(anna, 0, 2);
    trace_query(desk, "main", 0);
    trace_take(desk, now, "main", 0, 2);
    refuse();
    EXPECT_EQ(became(one), "refused: NAK 0005");
}

TEST_F(Refusals, OfATakeThatWasShownBeforeAreToldWithIt)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    shows(0, 2);
    refuse();
    EXPECT_EQ(became(one), "refused: NAK 0005; CAM 3 is shown all the same");
}
