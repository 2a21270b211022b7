#include <sstream>

#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {
class Trace : public DeskTest {
  protected:
    const live_router& main = *find_live(std::as_const(desk), "main");

    // On MON A, in words; the take is one of CAM 3.
    void pass(const std::string& words)
    {
        std::istringstream in(words);
        for (std::string word; in >> word;) {
            int camera = 0;
            if (word == "take")
                trace_take(desk, now, "main", 0, 2);
            else if (word == "refused")
                refuses(0, "NAK 0005");
            else if (word == "ask")
                trace_query(desk, "main", 0);
            else if (word == "unanswered")
                trace_query_unanswered(desk, now, "main", 0, false);
            else if (word == "shows" && in >> camera)
                shows(0, camera - 1);
            else if (word == "reports" && in >> camera)
                report(0, camera - 1);
            else if (word == "late")
                wait_ms(3000);
            else
                FAIL() << word;
        }
    }
};
} // namespace

TEST_F(Trace, SendsTheWishThatTheTakeIsFor)
{
    const auto one = wish(anna, 0, 2);
    const auto other = wish(anna, 1, 2);
    forget_told();
    takes(0, 2);
    EXPECT_EQ(became(one), "sent");
    EXPECT_EQ(became(other), "queued");
    EXPECT_THAT(changed(), ElementsAre(std::pair(change::kind::wish, 0)));
    EXPECT_THAT(ordered(), IsEmpty());
}

TEST_F(Trace, SupersedesOlderWishesForAnotherSource)
{
    const auto sent = wish(anna, 0, 1);
    takes(0, 1);
    const auto old = wish(anna, 0, 2);
    const auto older = wish(anna, 0, 3);
    const auto taken = wish(ben, 0, 4);
    const auto newer = wish(ben, 0, 5);
    takes(0, 4);
    EXPECT_EQ(became(sent), "sent");
    EXPECT_EQ(became(old), "superseded: ben asked for CAM 5 before it was sent");
    EXPECT_EQ(became(older), "superseded: ben asked for CAM 5 before it was sent");
    EXPECT_EQ(became(taken), "sent");
    EXPECT_EQ(became(newer), "queued");
    EXPECT_THAT(main.troubled, IsEmpty());
}

TEST_F(Trace, KnowsTheTakesOfTwoWishesForOneSourceApart)
{
    const auto one = wish(anna, 0, 2);
    const auto same = wish(ben, 0, 2);
    takes(0, 2);
    refuses(0, "NAK 0005");
    EXPECT_EQ(became(one), "refused: NAK 0005");
    EXPECT_EQ(became(same), "queued");
    takes(0, 2);
    EXPECT_EQ(became(same), "sent");
}

TEST_F(Trace, SendsNoneForATakeThatNobodyAskedFor)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 3);
    takes(1, 2);
    EXPECT_EQ(became(one), "queued");
    // They have their answers all the same.
    takes(0, 2);
    refuses(0, "NAK 0001");
    refuses(0, "NAK 0002");
    EXPECT_EQ(became(one), "sent");
    refuses(0, "NAK 0003");
    EXPECT_EQ(became(one), "refused: NAK 0003");
}

TEST_F(Trace, TellsThatATakeHasBeenAnswered)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    forget_told();
    trace_take_answer(desk, now, "main", "");
    EXPECT_EQ(became(one), "sent");
    EXPECT_THAT(changed(), ElementsAre(std::pair(change::kind::wish, 0)));
}

TEST_F(Trace, PassesOverATakeThatIsNeverAnswered)
{
    const auto first = wish(anna, 0, 2);
    const auto second = wish(anna, 1, 2);
    takes(0, 2);
    takes(1, 2);
    trace_take_unanswered(desk, "main");
    EXPECT_FALSE(main.open.at(0).front().take_answered);
    refuses(1, "NAK 0005");
    EXPECT_EQ(became(first), "sent");
    EXPECT_EQ(became(second), "refused: NAK 0005");
    trace_take_unanswered(desk, "main"); // there is none
    trace_take_unanswered(desk, "nowhere");
}

TEST_F(Trace, MatchesAnswersToTakesInOrder)
{
    const auto first = wish(anna, 0, 2);
    const auto second = wish(anna, 1, 2);
    const auto third = wish(anna, 2, 2);
    takes(0, 2);
    takes(1, 2);
    takes(2, 2);
    trace_take_answer(desk, now, "main", "");
    refuses(1, "NAK\x1b 0005");
    EXPECT_EQ(became(first), "sent");
    EXPECT_EQ(became(second), "refused: NAK  0005");
    EXPECT_EQ(became(third), "sent");
    EXPECT_THAT(main.takes_unanswered, SizeIs(1));
}

TEST_F(Trace, RefusesNoWishThatHasEnded)
{
    const auto confirmed = wish(ben, 1, 2);
    const auto one = wish(anna, 0, 2);
    carry_out(1, 2);
    takes(0, 2);
    refuses(0, "NAK 0005");
    refuses(0, "NAK 0006");
    refuses(0, "NAK 0007");
    EXPECT_EQ(became(confirmed), "confirmed");
    EXPECT_EQ(became(one), "refused: NAK 0006");
}

TEST_F(Trace, ForgetsTheOldestOfTooManyTakesWithoutAnswer)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    for (std::size_t i = 0; i < TAKES_UNANSWERED; ++i)
        takes(1, 2);
    EXPECT_THAT(main.takes_unanswered, SizeIs(TAKES_UNANSWERED));
    refuses(0, "NAK 0005");
    EXPECT_EQ(became(one), "sent");
}

// What becomes of a wish for CAM 3 on MON A, which shows CAM 1, when this passes.
TEST_F(Trace, TellsWhatBecomesOfAWish)
{
    const std::string still = "contradicted: the router still shows CAM 1";
    const std::string back = "contradicted: the router shows CAM 1 instead: "
                             "it is not known by whom";
    const std::string other = "contradicted: the router shows CAM 4 instead: "
                              "taken by somebody else";
    struct {
        const char* passed;
        std::string became;
    } const cases[] = {
        {"take refused", "refused: NAK 0005"},
        {"take late", "timed out"},
        {"take ask shows 3", "sent"},
        {"take ask shows 3 reports 3", "confirmed"},
        // By the answer to the query that followed the take.
        {"take ask shows 1", still},
        {"take ask shows 4", other},
        // Not by answers to queries from before it.
        {"ask ask take ask shows 1 shows 4", "sent"},
        {"ask ask take ask shows 1 shows 4 shows 1", still},
        {"ask take ask shows 3 reports 3", "sent"},
        {"ask take ask shows 3 shows 3 reports 3", "confirmed"}, // of both
        {"ask take ask unanswered shows 1", still},
        {"take ask unanswered unanswered shows 1", "sent"},
        // Unasked, or asked later, by a third source alone.
        {"take shows 1", "sent"},
        {"take shows 1 shows 4", other},
        // What was shown may still be reported, until what followed it is, or the limit.
        {"take ask shows 3 shows 4", "sent"},
        {"take ask shows 3 shows 4 reports 3", "confirmed"},
        {"take ask shows 3 shows 4 reports 4", other},
        {"take ask shows 3 shows 4 late", other},
        {"take ask shows 3 shows 4 shows 3 late", "timed out"},
        {"take ask ask shows 3 shows 1 late", back},
        {"take ask shows 3 shows 1 reports 1", back},
        {"take ask shows 3 shows 1 reports 3", "confirmed"},
    };
    const desk_state before = desk;
    for (const auto& c : cases) {
        desk = before;
        const auto one = wish(anna, 0, 2);
        pass(c.passed);
        EXPECT_EQ(became(one), c.became) << c.passed;
    }
}

TEST_F(Trace, LeavesRoomForTheReportOfWhatWasShownFirst)
{
    const auto annas = wish(anna, 0, 2);
    takes(0, 2);
    const auto bens = wish(ben, 0, 3);
    takes(0, 3);
    shows(0, 2);
    shows(0, 3);
    desk.entries.clear();
    report(0, 2);
    EXPECT_EQ(became(annas), "confirmed");
    report(0, 3);
    EXPECT_EQ(became(bens), "confirmed");
    for (const entry& entry : desk.entries)
        EXPECT_FALSE(std::holds_alternative<outside_change>(entry.what));
}

TEST_F(Trace, ConfirmsNothingByWhatWasShownBeforeTheTake)
{
    report(0, 1);
    const auto answer = wish(anna, 0, 2);
    shows(0, 2);
    takes(0, 2);
    report(0, 2);
    EXPECT_EQ(became(answer), "sent");
}

TEST_F(Trace, UnaskedContradictsNothingWhileItIsNotKnownWhatWasThere)
{
    const int destination = POSITIONS_HERE;
    report_counts(desk, "main", POSITIONS_HERE, destination + 1);
    const auto one = wish(anna, destination, 2);
    trace_take(desk, now, "main", destination, 2);
    shows(destination, 3);
    EXPECT_EQ(became(one), "sent");
    trace_query(desk, "main", destination);
    shows(destination, 3);
    EXPECT_EQ(became(one), "contradicted: the router shows CAM 4 instead: it is not known by whom");
}

TEST_F(Trace, NamesWhoseTakeItIs)
{
    const auto annas = wish(anna, 0, 2);
    takes(0, 2);
    const auto bens = wish(ben, 0, 3);
    takes(0, 3);
    shows(0, 2);
    shows(0, 3);
    wait_ms(3000);
    EXPECT_EQ(became(annas), "contradicted: the router shows CAM 4 instead: taken by ben");
    EXPECT_EQ(became(bens), "timed out");
}

TEST_F(Trace, NamesNobodyForAnAnswerFromBeforeTheTake)
{
    const auto annas = wish(anna, 0, 2);
    takes(0, 2);
    const auto bens = wish(ben, 0, 3);
    takes(0, 3);
    shows(0, 3);
    EXPECT_EQ(became(annas),
              "contradicted: the router shows CAM 4 instead: it is not known by whom");
    EXPECT_EQ(became(bens), "sent");
}

TEST_F(Trace, CountsQueriesForEachDestination)
{
    const auto one = wish(anna, 0, 2);
    trace_query(desk, "main", 1);
    takes(0, 2);
    shows(1, 0);
    shows(1, 0);
    EXPECT_THAT(main.queries_under_way, SizeIs(1));
    EXPECT_EQ(main.queries_under_way.at(0).under_way, 1U);
    for (std::size_t i = 0; i <= QUERIES_UNDER_WAY; ++i)
        trace_query(desk, "main", 1);
    EXPECT_EQ(main.queries_under_way.at(1).under_way, QUERIES_UNDER_WAY);
    EXPECT_EQ(became(one), "sent");
}

TEST_F(Trace, MakesNoFact)
{
    wish(anna, 0, 2);
    takes(0, 2);
    shows(0, 2);
    EXPECT_EQ(source_shown(main, 0), 0);
}

TEST_F(Trace, MakesAFactOfNoSource)
{
    forget_told();
    shows(0, NO_SOURCE);
    EXPECT_EQ(source_shown(main, 0), NO_SOURCE);
    EXPECT_TRUE(is_fresh(main, 0));
    EXPECT_THAT(changed(), ElementsAre(std::pair(change::kind::fact, 0)));
    report(0, 3);
    EXPECT_EQ(source_shown(main, 0), NO_SOURCE) << "the router had said it before";
    shows(0, 4);
    report(0, 4);
    EXPECT_EQ(source_shown(main, 0), 4);
}

TEST_F(Trace, ConfirmsADisconnection)
{
    const take_answer answer = wish(anna, 0, NO_SOURCE);
    takes(0, NO_SOURCE);
    shows(0, NO_SOURCE);
    EXPECT_EQ(became(answer), "confirmed");
}

TEST_F(Trace, ForgetsNoSourceWithTheConnection)
{
    shows(0, NO_SOURCE);
    link(link_state::down, "gone");
    report(0, 3);
    EXPECT_EQ(source_shown(main, 0), NO_SOURCE) << "of the old connection";
    link(link_state::reading);
    report(0, 3);
    EXPECT_EQ(source_shown(main, 0), 3);
}

TEST_F(Trace, OfAnUnknownRouterIsPassedOver)
{
    forget_told();
    trace_take(desk, now, "none", 0, 1);
    trace_take_answer(desk, now, "none", "NAK");
    trace_query(desk, "none", 0);
    trace_query_unanswered(desk, now, "none", 0, true);
    trace_query_unanswered(desk, now, "main", 0, true); // of none
    trace_route(desk, now, "none", 0, 1);
    trace_take_answer(desk, now, "main", "NAK"); // of no take
    EXPECT_THAT(changed(), IsEmpty());
    EXPECT_FALSE(desk.live.contains("none"));
}

TEST_F(Trace, OfNoSourceLetsReportsOfBeforeTellNothing)
{
    for (const int source : {3, NO_SOURCE, 4})
        shows(0, source);
    report(0, 3);
    EXPECT_EQ(source_shown(main, 0), NO_SOURCE);
    report(0, 4);
    EXPECT_EQ(source_shown(main, 0), 4);
    report(0, 3);
    EXPECT_EQ(source_shown(main, 0), 3);
}
