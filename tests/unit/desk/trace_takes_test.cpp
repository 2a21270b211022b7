// What is confirmed by what a router shows that has had several takes for one destination.
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::IsEmpty;

namespace {
class TraceOfManyTakes : public DeskTest {
  protected:
    const live_router& main = *find_live(std::as_const(desk), "main");
};
} // namespace

// Unasked, it is taken for the answer to the query after the first take.
TEST_F(TraceOfManyTakes, IsNotContradictedByTheResultOfAnOlderTake)
{
    wish(anna, 0, 2);
    takes(0, 2);
    const auto bens = wish(ben, 0, 3);
    takes(0, 3);
    shows(0, 2);
    shows(0, 2);
    EXPECT_EQ(became(bens), "sent");
    shows(0, 3);
    shows(0, 2); // somebody has put it back
    report(0, 2);
    report(0, 2);
    EXPECT_EQ(became(bens), "sent");
    report(0, 3);
    EXPECT_EQ(became(bens), "confirmed");
}

// What the first take has done is told while the second's is still to come.
TEST_F(TraceOfManyTakes, ConfirmsEachOfThreeTakesThatGoBackAndForth)
{
    for (const bool refused : {false, true}) {
        const auto first = wish(anna, 0, 2);
        takes(0, 2);
        const auto second = wish(ben, 0, 3);
        takes(0, 3);
        const auto third = wish(anna, 0, 2);
        takes(0, 2);
        forget_told();
        shows(0, 2);
        report(0, 2);
        EXPECT_EQ(became(first), "confirmed");
        EXPECT_EQ(became(second), "sent");
        EXPECT_EQ(became(third), "sent");
        shows(0, 3);
        report(0, 3);
        EXPECT_EQ(became(second), "confirmed");
        EXPECT_EQ(author_of(0).person, "ben");
        EXPECT_EQ(became(third), "sent");
        for (int i = 0; i < 3; ++i)
            trace_take_answer(desk, now, "main", refused && i == 2 ? "NAK 0005" : "");
        shows(0, refused ? 3 : 2);
        report(0, refused ? 3 : 2);
        EXPECT_EQ(became(third), refused ? "refused: NAK 0005" : "confirmed");
        EXPECT_EQ(author_of(0).person, refused ? "ben" : "anna");
        EXPECT_THAT(outside_changes(), IsEmpty());
    }
}

// As of a slow router whose answers overtake each other, so that nobody knows what they answer.
TEST_F(TraceOfManyTakes, WaitsForWhatCameBetweenWhenTheQueriesAreNotKnown)
{
    const auto first = wish(anna, 0, 2);
    const auto take = [&](int source) {
        takes(0, source);
        trace_query_unanswered(desk, now, "main", 0, false);
    };
    take(2);
    const auto second = wish(anna, 0, 3);
    take(3);
    const auto third = wish(anna, 0, 2);
    take(2);
    forget_told();
    for (const int source : {2, 3, 2}) {
        EXPECT_EQ(became(third), "sent");
        shows(0, source);
        report(0, source);
    }
    for (const auto& each : {first, second, third})
        EXPECT_EQ(became(each), "confirmed");
    EXPECT_THAT(outside_changes(), IsEmpty());
}

// A poll is under way when both takes are sent.
TEST_F(TraceOfManyTakes, IsNotConfirmedByWhatAPollShowsOfBefore)
{
    trace_query(desk, "main", 0);
    const auto there = wish(anna, 0, 3);
    takes(0, 3);
    const auto back = wish(ben, 0, 0);
    takes(0, 0);
    forget_told();
    shows(0, 0);
    report(0, 0);
    EXPECT_EQ(became(there), "sent");
    EXPECT_EQ(became(back), "sent");
    for (const int source : {3, 0}) {
        shows(0, source);
        report(0, source);
    }
    EXPECT_EQ(became(there), "confirmed");
    EXPECT_EQ(became(back), "confirmed");
    EXPECT_THAT(outside_changes(), IsEmpty());
    EXPECT_EQ(author_of(0).person, "ben");
}

// The reports come after all that they report has been shown.
TEST_F(TraceOfManyTakes, KnowsOfWhichShowingAReportIs)
{
    const auto first = wish(anna, 0, 2);
    takes(0, 2);
    const auto second = wish(ben, 0, 3);
    takes(0, 3);
    const auto third = wish(anna, 0, 2);
    takes(0, 2);
    for (const int source : {2, 3, 2})
        shows(0, source);
    forget_told();
    report(0, 2);
    EXPECT_EQ(became(first), "confirmed");
    EXPECT_EQ(became(second), "sent");
    EXPECT_EQ(became(third), "sent");
    report(0, 3);
    EXPECT_EQ(became(second), "confirmed");
    report(0, 2);
    EXPECT_EQ(became(third), "confirmed");
    EXPECT_THAT(outside_changes(), IsEmpty());
    EXPECT_THAT(main.unreported, IsEmpty());
}

TEST_F(TraceOfManyTakes, ForgetsTheOldestOfTooManyShowingsThatNoReportBrings)
{
    const std::uint64_t before = main.showings;
    for (std::size_t i = 0; i <= SHOWINGS_UNREPORTED; ++i)
        shows(0, 5);
    shows(ROUTED_POSITIONS, 5);
    EXPECT_EQ(main.unreported.size(), 1);
    EXPECT_EQ(main.unreported.at(0).size(), SHOWINGS_UNREPORTED);
    EXPECT_EQ(main.unreported.at(0).front().number, before + 2);
    report_backend_ended(desk, now, "main");
    EXPECT_THAT(main.unreported, IsEmpty());
}

// The answer to the first take's query was overtaken: that its source is shown is no outside
// change.
TEST_F(TraceOfManyTakes, TellsNobodyElsesDoingWhileATakeIsStillToBeShown)
{
    const auto first = wish(anna, 0, 2);
    takes(0, 2);
    const auto second = wish(ben, 0, 3);
    takes(0, 3);
    forget_told();
    for (const int source : {3, 2}) {
        shows(0, source);
        report(0, source);
    }
    EXPECT_EQ(became(first),
              "contradicted: the router shows CAM 4 instead: it is not known by whom");
    EXPECT_EQ(became(second), "sent");
    EXPECT_THAT(outside_changes(), IsEmpty());
    EXPECT_EQ(taker_text(desk, "main", 0, 2), "it is not known by whom");
}

TEST_F(TraceOfManyTakes, KnowsATakeBetweenThatTheRouterPassedOver)
{
    const auto first = wish(anna, 0, 2);
    takes(0, 2);
    const auto between = wish(ben, 0, 3);
    takes(0, 3);
    const auto last = wish(anna, 0, 2);
    takes(0, 2);
    for (int answers = 0; answers < 3; ++answers) {
        shows(0, 2);
        report(0, 2);
    }
    EXPECT_EQ(became(first), "confirmed");
    EXPECT_EQ(became(between).substr(0, 12), "contradicted") << became(between);
    EXPECT_EQ(became(last), "confirmed");
}

// A backend that reports them as one reports no more until something changes.
TEST_F(TraceOfManyTakes, ConfirmsAtTheLimitWhatStandsReported)
{
    for (const bool reported : {false, true}) {
        const auto first = wish(anna, 0, 2);
        takes(0, 2);
        const auto second = wish(ben, 0, 3);
        takes(0, 3);
        const auto third = wish(anna, 0, 2);
        takes(0, 2);
        forget_told();
        shows(0, 2);
        if (!reported) report(0, 2); // of before the third
        shows(0, 3);
        shows(0, 2);
        if (reported) report(0, 2);
        EXPECT_EQ(became(first), "confirmed");
        EXPECT_EQ(became(third), "sent");
        wait_ms(3000);
        EXPECT_EQ(row_of(second).end, outcome::contradicted);
        EXPECT_EQ(became(third), reported ? "confirmed" : "timed out");
        EXPECT_EQ(author_of(0).by == (wish_id{third.batch, 0}), reported);
        EXPECT_THAT(outside_changes(), IsEmpty());
        shows(0, 0);
        report(0, 0);
    }
}
