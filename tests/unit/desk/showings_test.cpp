// What the traffic tells and reports bring late, several as one, or never.
#include "server/desk/undo.h"
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {
class Showings : public DeskTest {
  protected:
    const live_router& main = *find_live(std::as_const(desk), "main");

    void show(std::initializer_list<int> sources)
    {
        for (const int source : sources)
            shows(0, source);
    }

    std::string undone(const actor& actor)
    {
        return said(undo(desk, now, actor, how(batch_rule::all)));
    }

    void reconnect()
    {
        link(link_state::down);
        link(link_state::ready);
    }
};
} // namespace

TEST_F(Showings, AreForgottenWhenNoReportCanBringThem)
{
    struct {
        int wait_s;
        bool reconnects;
        const char* became;
    } const cases[] = {
        {0, false, "sent"},
        {15, false, "sent"},
        {16, false, "confirmed"},
        {0, true, "confirmed"},
    };
    const desk_state before = desk;
    for (const auto& c : cases) {
        desk = before;
        show({2, 0, 2});
        report(0, 2); // of all three
        wait_ms(c.wait_s * 1000);
        if (c.reconnects) {
            reconnect();
            report(0, 2);
        }
        const auto one = wish(anna, 0, 0);
        carry_out(0, 0); // of the showing in between, for all that is known
        EXPECT_EQ(became(one), c.became) << c.wait_s;
        wait_ms(3000);
        EXPECT_EQ(became(one), "confirmed") << c.wait_s;
    }
}

TEST_F(Showings, OfAnotherSourceBetweenLeaveNoAuthor)
{
    for (const bool twice : {false, true}) {
        wish(ben, 0, 3);
        takes(0, 3);
        if (twice) {
            show({3, 3});
            report(0, 3); // of both: the second is reported no more
            EXPECT_EQ(author_of(0).person, "ben");
            show({6, 3});
        } else {
            show({3, 6, 3});
        }
        report(0, 3);
        EXPECT_EQ(author_of(0), authorship{}) << twice;
        EXPECT_EQ(main.facts[0].changed, std::nullopt) << twice;
        EXPECT_EQ(undone(ben),
                  "factUnknown: whose doing it is that MON A shows CAM 4 is not known");
        reconnect();
        report(0, 0);
    }
}

TEST_F(Showings, AfterAnotherSourceNameWhoseTakeTheyAreOf)
{
    wish(ben, 0, 3);
    carry_out(0, 3);
    show({6});
    take(desk, now, anna, {{}, {{{"main", 0, 3}, {}}}, true});
    carry_out(0, 3);
    EXPECT_EQ(author_of(0).person, "anna");
}

// It has timed out because the router was slow.
TEST_F(Showings, OfATakeWhoseWishHasEndedAreNobodyElsesDoing)
{
    const auto annas = wish(anna, 0, 2);
    takes(0, 2);
    wait_ms(3000);
    EXPECT_EQ(became(annas), "timed out");
    const auto bens = wish(ben, 0, 5);
    takes(0, 5);
    forget_told();
    show({2, 2});
    EXPECT_EQ(became(bens), "sent");
    EXPECT_EQ(taker_text(desk, "main", 0, 2), "it is not known by whom");
    report(0, 2);
    EXPECT_THAT(outside_changes(), IsEmpty());
    EXPECT_EQ(author_of(0), authorship{});
    show({5});
    report(0, 5);
    EXPECT_EQ(became(bens), "confirmed");
    const auto third = wish(ben, 0, 6);
    takes(0, 6);
    show({2}); // of after the second take
    EXPECT_EQ(became(third), "contradicted: the router shows CAM 3 instead: "
                             "taken by somebody else");
}

// It is there already: that a take before has brought it does not excuse it.
TEST_F(Showings, OfATakeWhoseWishHasEndedAreOfItOnce)
{
    wish(anna, 0, 2);
    trace_take(desk, now, "main", 0, 2);
    wait_ms(3000);
    const auto bens = wish(ben, 0, 5);
    shows(0, 2);
    takes(0, 5);
    shows(0, 2);
    EXPECT_EQ(row_of(bens).end, outcome::contradicted);
}

TEST_F(Showings, OfATakeWhoseWishHasEndedAreSomebodyElsesAfterAMinute)
{
    struct {
        int wait_ms;
        bool reconnects;
        bool outside;
    } const cases[] = {{60'000, false, false}, {60'001, false, true}, {0, true, false}};
    const desk_state before = desk;
    for (const auto& c : cases) {
        desk = before;
        wish(anna, 0, 2);
        trace_take(desk, now, "main", 0, 2);
        wait_ms(3000);
        wait_ms(c.wait_ms);
        if (c.reconnects) reconnect();
        if (c.reconnects) report(0, 0);
        wish(ben, 0, 5);
        forget_told();
        report(0, 2);
        EXPECT_THAT(outside_changes(), SizeIs(c.outside ? 1 : 0)) << c.wait_ms;
    }
}

TEST_F(Showings, ThatConfirmAWishLateAreOfAfterAllBeforeIt)
{
    for (const int source : {2, 5}) {
        wish(anna, 0, source);
        trace_take(desk, now, "main", 0, source);
        wait_ms(3000);
    }
    report(0, 5);
    EXPECT_EQ(author_of(0).person, "anna");
    report(0, 2);
    EXPECT_THAT(outside_changes(), SizeIs(1));
}

// The router answers before it has switched, or leaves it.
TEST_F(Showings, OfATakeWithAnAnswerAreItsDoingForASecond)
{
    for (const int later_ms : {1000, 1001}) {
        const auto one = wish(anna, 0, 2);
        takes(0, 2);
        shows(0, 0);
        report(0, 0);
        EXPECT_EQ(row_of(one).end, outcome::contradicted);
        wait_ms(later_ms);
        forget_told();
        shows(0, 2);
        report(0, 2);
        EXPECT_EQ(row_of(one).confirmed_late_after.has_value(), later_ms == 1000);
        EXPECT_THAT(outside_changes(), SizeIs(later_ms == 1000 ? 0 : 1));
        reconnect();
        report(0, 0);
    }
}

TEST_F(Showings, OfALinkMadeAnewWithinTheLimitEndWhatATakeBeforeItCanDo)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    reconnect();
    shows(0, 0);
    report(0, 0);
    wait_ms(3000);
    EXPECT_EQ(became(one), "timed out");
    wait_ms(30'000);
    shows(0, 2);
    report(0, 2);
    EXPECT_EQ(row_of(one).confirmed_late_after, std::nullopt);
    EXPECT_EQ(undone(anna).substr(0, 13), "notConfirmed:");
}

TEST_F(Showings, ConfirmNothingLateOnceTheyHaveBeenPassed)
{
    for (const bool in_time : {false, true}) {
        const auto one = wish(anna, 0, 2);
        takes(0, 2);
        if (in_time) show({2, 5});
        wait_ms(3000);
        if (!in_time) show({2, 5});
        report(0, 5); // of both
        EXPECT_EQ(row_of(one).end, in_time ? outcome::contradicted : outcome::timed_out);
        wait_ms(30'000);
        forget_told();
        show({2});
        report(0, 2);
        EXPECT_EQ(row_of(one).confirmed_late_after, std::nullopt);
        EXPECT_THAT(outside_changes(), SizeIs(in_time ? 1 : 0));
        EXPECT_NE(undone(anna).substr(0, 4), "goes");
        reconnect();
        report(0, 0);
    }
}

// Its take came to nothing with the connection.
TEST_F(Showings, OverALaterConnectionConfirmLateUnlessSomethingElseCameFirst)
{
    for (const bool first : {false, true}) {
        const auto one = wish(anna, 0, 2);
        takes(0, 2);
        wait_ms(3000);
        reconnect();
        if (!first) show({0});
        if (!first) report(0, 0);
        show({2});
        report(0, 2);
        EXPECT_EQ(row_of(one).confirmed_late_after.has_value(), first);
        show({0});
        report(0, 0);
    }
}

TEST_F(Showings, OfBeforeATakeAreWhatItFinds)
{
    for (const bool reconnects : {false, true}) {
        show({2}); // somebody else's
        const auto one = wish(anna, 0, 2);
        takes(0, 2);
        if (reconnects) reconnect();
        show({2});
        report(0, 2);
        EXPECT_EQ(became(one), "confirmed");
        EXPECT_EQ(row_of(one).was, 2);
        reconnect();
        report(0, 0);
    }
    show({4});
    const auto other = wish(anna, 0, 2);
    takes(0, 2);
    show({2});
    report(0, 2);
    EXPECT_EQ(row_of(other).was, 4);
}

// Of two takes of it nobody knows which answer is whose.
TEST_F(Showings, OfTwoLikeTakesAtOnceAreWhatTheSecondFinds)
{
    wish(anna, 0, 2);
    takes(0, 2);
    const auto second = wish(ben, 0, 2);
    takes(0, 2);
    trace_query_unanswered(desk, now, "main", 0, false);
    show({2});
    report(0, 2);
    EXPECT_EQ(became(second), "confirmed");
    EXPECT_EQ(row_of(second).was, 2);
}

TEST_F(Showings, OfBeforeTheFirstReportAreWhatATakeFinds)
{
    reconnect();
    show({4});
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    show({2});
    report(0, 2);
    EXPECT_EQ(row_of(one).was, 4);
}

// It does not still show what it shows again.
TEST_F(Showings, OfTheFirstSourceAgainAreOfTheTakeThatPutItBack)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    wish(ben, 0, 0);
    takes(0, 0);
    show({2, 0});
    report(0, 0);
    EXPECT_EQ(became(one), "contradicted: the router shows CAM 1 instead: taken by ben");
}

// As of a part of the traffic that could not be read.
TEST_F(Showings, ThatOnlyAReportTellsAreWhatATakeFinds)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    report(0, 5);
    show({2});
    report(0, 2);
    EXPECT_EQ(row_of(one).was, 5);
}

TEST_F(Showings, OfSomethingElseSinceLetNothingBeConfirmedAtTheLimit)
{
    wish(anna, 0, 2);
    takes(0, 2);
    wish(ben, 0, 3);
    takes(0, 3);
    const auto third = wish(anna, 0, 2);
    takes(0, 2);
    show({2, 3, 2, 0});
    report(0, 2); // of the first three
    wait_ms(3000);
    EXPECT_EQ(became(third), "contradicted: the router shows CAM 1 instead: "
                             "taken by somebody else");
}

TEST_F(Showings, ThatNoReportHasBroughtYetForbidUndo)
{
    wish(anna, 0, 2);
    carry_out(0, 2);
    show({5});
    EXPECT_EQ(undone(anna), "changedSince: MON A was changed since: it shows CAM 6, "
                            "taken by somebody else");
    take_request request{{}, {{{"main", 0, 3}, 2}}, false};
    request.dry_run = true;
    EXPECT_EQ(said(take(desk, now, anna, request)),
              "changedSince: MON A shows CAM 6 by now, taken by somebody else");
    request.rows = {{{"main", 0, 2}, {}}};
    EXPECT_EQ(said(take(desk, now, anna, request)), "goes"); // it is not there any more
    show({2});
    EXPECT_EQ(undone(anna), "factUnknown: whose doing it is that MON A shows CAM 3 is not known");
}

TEST_F(Showings, ConfirmLateWhatWasThereWhenItWasWished)
{
    wish(ben, 0, 3);
    takes(0, 3);
    const auto back = wish(ben, 0, 0);
    takes(0, 0);
    show({3});
    report(0, 3);
    wait_ms(3000);
    EXPECT_EQ(became(back), "timed out");
    forget_told();
    show({0});
    report(0, 0);
    EXPECT_TRUE(row_of(back).confirmed_late_after);
    EXPECT_THAT(outside_changes(), IsEmpty());
    EXPECT_EQ(author_of(0).person, "ben");
}

// An older one that ends after it, badly, is history.
TEST_F(Showings, ThatConfirmTheLastWishLeaveNoTrouble)
{
    wish(anna, 0, 2);
    takes(0, 2);
    wish(ben, 0, 3);
    takes(0, 3);
    show({2, 3});
    report(0, 3);
    EXPECT_THAT(troubles(), IsEmpty());
    wish(anna, 0, 2);
    takes(0, 2);
    const auto last = wish(ben, 0, 4);
    takes(0, 4);
    trace_take_answer(desk, now, "main", "");
    trace_take_answer(desk, now, "main", "");
    trace_take_answer(desk, now, "main", "");
    trace_query_unanswered(desk, now, "main", 0, false); // of the last but one
    refuses(0, "NAK 0005");
    EXPECT_THAT(troubles(), ElementsAre(std::pair(0, wish_id{last.batch, 0})));
    EXPECT_EQ(said(accept_outcome(desk, now, ben, "main", 0)), "");
    wait_ms(3000);
    EXPECT_THAT(troubles(), IsEmpty());
}
