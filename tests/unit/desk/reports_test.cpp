#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using kind = change::kind;

namespace {
class Reports : public DeskTest {
  protected:
    const live_router& main = *find_live(std::as_const(desk), "main");
};
} // namespace

TEST_F(Reports, MakeFacts)
{
    wait_ms(50);
    report(2, 5);
    EXPECT_EQ(source_shown(main, 2), 5);
    EXPECT_TRUE(is_fresh(main, 2));
    EXPECT_EQ(main.facts[2].confirmed.utc, now.utc);
    EXPECT_THAT(changed(), ElementsAre(Pair(kind::fact, 2)));
    report(2, NO_SOURCE);
    EXPECT_EQ(source_shown(main, 2), NO_SOURCE);
}

TEST_F(Reports, ThatRepeatAFactAreNoChange)
{
    report(2, 5);
    changed();
    wait_ms(50);
    report(2, 5);
    EXPECT_EQ(main.facts[2].confirmed.utc, now.utc);
    EXPECT_THAT(changed(), IsEmpty());
}

TEST_F(Reports, MakeADoubtedFactFreshAgain)
{
    report(2, 5);
    changed();
    doubt_fact(desk, "main", 2);
    doubt_fact(desk, "main", 2);
    doubt_fact(desk, "main", POSITIONS_HERE);
    EXPECT_EQ(source_shown(main, 2), 5);
    EXPECT_FALSE(is_fresh(main, 2));
    EXPECT_THAT(changed(), ElementsAre(Pair(kind::fact, 2)));
    report(2, 5);
    EXPECT_TRUE(is_fresh(main, 2));
    EXPECT_THAT(changed(), ElementsAre(Pair(kind::fact, 2)));
}

TEST_F(Reports, OutOfRangeArePassedOver)
{
    for (const auto& [destination, source] :
         {std::pair(-1, 2), {ROUTED_POSITIONS, 2}, {1, POSITIONS}, {1, UNKNOWN_SOURCE}})
        report(destination, source);
    EXPECT_THAT(changed(), IsEmpty());
    EXPECT_THAT(main.facts, SizeIs(POSITIONS_HERE));
    report(ROUTED_POSITIONS - 1, POSITIONS - 1);
    EXPECT_EQ(source_shown(main, ROUTED_POSITIONS - 1), POSITIONS - 1);
    EXPECT_THAT(main.facts, SizeIs(ROUTED_POSITIONS));
}

TEST_F(Reports, OfUnknownRoutersArePassedOver)
{
    report(0, 1, "none");
    report_link(desk, now, "none", link_state::ready, "");
    report_counts(desk, "none", 1, 1);
    report_names(desk, "none", side::sources, {"CAM"});
    doubt_fact(desk, "none", 0);
    report_backend_ended(desk, now, "none");
    EXPECT_THAT(changed(), IsEmpty());
    EXPECT_FALSE(desk.live.contains("none"));
}

TEST_F(Reports, OfCountsAreBroughtIntoRange)
{
    report_counts(desk, "main", -1, 300);
    EXPECT_EQ(main.inputs, 0);
    EXPECT_EQ(main.outputs, ROUTED_POSITIONS);
    EXPECT_THAT(main.facts, SizeIs(ROUTED_POSITIONS));
    report_counts(desk, "main", 300, -1);
    EXPECT_EQ(main.inputs, ROUTED_POSITIONS);
    EXPECT_EQ(main.outputs, 0);
    EXPECT_THAT(main.facts, SizeIs(ROUTED_POSITIONS));
    EXPECT_THAT(changed(), ElementsAre(Pair(kind::settings, 0), Pair(kind::settings, 0)));
    report_counts(desk, "main", 256, 0);
    EXPECT_THAT(changed(), IsEmpty());
    report_counts(desk, "main", 255, 0);
    report_counts(desk, "main", 255, 1);
    EXPECT_THAT(changed(), SizeIs(2));
}

TEST_F(Reports, OfNamesAreCut)
{
    report_names(desk, "main", side::sources, {"CAM\n1", std::string(300, 'a')});
    EXPECT_THAT(main.source_names, ElementsAre("CAM 1", std::string(TEXT_LENGTH, 'a')));
    report_names(desk, "main", side::destinations, std::vector<std::string>(POSITIONS + 1));
    EXPECT_THAT(main.destination_names, SizeIs(POSITIONS));
    EXPECT_THAT(changed(), ElementsAre(Pair(kind::names, 0), Pair(kind::names, 0)));
    report_names(desk, "main", side::destinations, std::vector<std::string>(POSITIONS));
    EXPECT_THAT(changed(), IsEmpty());
}

TEST_F(Reports, ConfirmWhatTheTraceHasShown)
{
    const auto one = wish(anna, 0, 2);
    const auto other = wish(anna, 1, 2);
    takes(0, 2);
    report(0, 2); // from before the take, for all that is known
    EXPECT_EQ(became(one), "sent");
    shows(0, 2);
    report(0, 2);
    EXPECT_EQ(became(one), "confirmed");
    EXPECT_EQ(became(other), "queued");
    EXPECT_EQ(author_of(0), (authorship{2, wish_id{one.batch, 0}, "anna", now.utc}));
}

TEST_F(Reports, ConfirmEachWishForTheSource)
{
    const auto one = wish(anna, 0, 2);
    const auto same = wish(ben, 0, 2);
    takes(0, 2);
    takes(0, 2);
    shows(0, 2);
    report(0, 2);
    EXPECT_EQ(became(one), "confirmed");
    EXPECT_EQ(became(same), "sent");
    EXPECT_EQ(author_of(0), (authorship{2, wish_id{one.batch, 0}, "anna", now.utc}));
    shows(0, 2); // which may be reported no more
    EXPECT_EQ(became(same), "confirmed");
    EXPECT_EQ(author_of(0), (authorship{2, wish_id{same.batch, 0}, "ben", now.utc}));
}

TEST_F(Reports, ConfirmEachWishForTheSourceThatWasShown)
{
    const auto one = wish(anna, 0, 2);
    const auto same = wish(ben, 0, 2);
    takes(0, 2);
    takes(0, 2);
    shows(0, 2);
    shows(0, 2);
    report(0, 2); // a backend reports both as one
    EXPECT_EQ(became(one), "confirmed");
    EXPECT_EQ(became(same), "confirmed");
}

TEST_F(Reports, ContradictOlderWishesForAnotherSource)
{
    const auto older = wish(anna, 0, 2);
    takes(0, 2);
    const auto confirmed = wish(ben, 0, 3);
    takes(0, 3);
    const auto newer = wish(anna, 0, 4);
    takes(0, 4);
    trace_query(desk, "main", 0);
    // The answers to the first two were lost: the third query's shows CAM 4.
    desk.live["main"].open.at(0)[1].shown = 1;
    desk.live["main"].showings = 1;
    report(0, 3);
    EXPECT_EQ(became(older), "contradicted: the router shows CAM 4 instead: taken by ben");
    EXPECT_EQ(became(confirmed), "confirmed");
    EXPECT_EQ(became(newer), "sent");
}

TEST_F(Reports, TellWhatWasThereWhenTheTakeCame)
{
    wish(anna, 0, 2);
    takes(0, 2);
    const auto confirmed = wish(ben, 0, 3);
    takes(0, 3);
    const auto late = wish(ben, 1, 3);
    takes(1, 3);
    shows(0, 2);
    report(0, 2);
    shows(0, 3);
    report(0, 3);
    EXPECT_EQ(row_of(confirmed).was, 2);
    wait_ms(3000);
    report(1, 5);
    report(1, 3);
    EXPECT_EQ(row_of(late).was, 5);
}

TEST_F(Reports, LeaveWhatWasThereOverALostLink)
{
    report(0, 4);
    const auto one = wish(anna, 0, 2);
    report(0, 5);
    takes(0, 2);
    link(link_state::down);
    link(link_state::ready);
    shows(0, 2);
    report(0, 2);
    EXPECT_EQ(became(one), "confirmed");
    EXPECT_EQ(row_of(one).was, 5);
}

TEST_F(Reports, NoteWhatNobodyHereAskedFor)
{
    report(0, 2);
    const auto changes = outside_changes();
    ASSERT_THAT(changes, SizeIs(1));
    EXPECT_EQ(changes[0].router, "main");
    EXPECT_EQ(changes[0].destination, 0);
    EXPECT_EQ(changes[0].source, 2);
    EXPECT_EQ(changes[0].was, 0);
    EXPECT_EQ(author_of(0), (authorship{2, std::nullopt, "", now.utc}));
    report(0, 2);
    EXPECT_THAT(outside_changes(), SizeIs(1));
}

TEST_F(Reports, KeepTheAuthorOfWhatIsStillShown)
{
    const auto one = wish(anna, 0, 2);
    carry_out(0, 2);
    report(0, 2);
    link(link_state::down);
    link(link_state::ready);
    report(0, 2);
    EXPECT_EQ(author_of(0), (authorship{2, wish_id{one.batch, 0}, "anna", now.utc}));
    EXPECT_THAT(outside_changes(), IsEmpty());
    report(0, 3);
    EXPECT_EQ(author_of(0), (authorship{3, std::nullopt, "", now.utc}));
}

TEST_F(Reports, FirstOfAllAreNoOutsideChange)
{
    report(POSITIONS_HERE, 3);
    EXPECT_THAT(outside_changes(), IsEmpty());
    report(POSITIONS_HERE, 4);
    EXPECT_THAT(outside_changes(), SizeIs(1));
}

TEST_F(Reports, OfWhatWasSentAreNoOutsideChange)
{
    const auto one = wish(anna, 0, 2);
    report(0, 2); // not sent yet
    EXPECT_THAT(outside_changes(), SizeIs(1));
    report(0, 0);
    takes(0, 2);
    desk.entries.clear();
    report(0, 2);
    EXPECT_THAT(outside_changes(), IsEmpty());
    report(0, 3);
    EXPECT_THAT(outside_changes(), SizeIs(1));
    EXPECT_EQ(became(one), "sent");
}

TEST_F(Reports, NoteAChangeBackFromWhatWasSent)
{
    wish(anna, 0, 2);
    carry_out(0, 2);
    wish(ben, 0, 3);
    takes(0, 3);
    report(0, 3);
    report(0, 2);
    EXPECT_EQ(author_of(0), (authorship{2, std::nullopt, "", now.utc}));
    ASSERT_THAT(outside_changes(), SizeIs(1));
    EXPECT_EQ(outside_changes()[0].was, 3);
}

TEST_F(Reports, CallNothingOutsideThatAnUnconfirmedTakeMayHaveDone)
{
    wish(anna, 0, 2);
    carry_out(0, 2);
    wish(ben, 0, 3);
    takes(0, 3);
    report(0, 3);
    EXPECT_EQ(author_of(0), authorship{});
    wait_ms(3000);
    accept_outcome(desk, now, ben, "main", 0);
    report(0, 3);
    EXPECT_FALSE(desk.house.routers.at("main").authors.contains(0));
    EXPECT_THAT(outside_changes(), IsEmpty());
    report(0, 4);
    ASSERT_THAT(outside_changes(), SizeIs(1));
    EXPECT_EQ(outside_changes()[0].was, 3);
}

TEST_F(Reports, CountEachChange)
{
    const auto before = main.revision;
    report(0, 2);
    report(0, 2);
    report(1, 2);
    link(link_state::down);
    EXPECT_EQ(main.revision, before + 3);
    ASSERT_THAT(desk.changes, SizeIs(3));
    EXPECT_EQ(desk.changes.back().revision, before + 3);
}
