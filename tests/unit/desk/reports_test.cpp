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

    authorship author_of(int destination) const
    {
        const auto& authors = desk.house.routers.at("main").authors;
        return authors.contains(destination) ? authors.at(destination) : authorship{};
    }

    void restart()
    {
        wait_ms(1);
        desk_state again = make_desk(2, desk.house, now);
        desk = std::move(again);
        report_counts(desk, "main", POSITIONS_HERE, POSITIONS_HERE);
        report_names(desk, "main", side::sources, {"CAM 1", "CAM 2", "CAM 3", "CAM 4"});
        link(link_state::ready);
        forget_told();
    }

    std::vector<outside_change> outside_changes() const
    {
        std::vector<outside_change> found;
        for (const entry& entry : desk.entries)
            if (const auto* change = std::get_if<outside_change>(&entry.what))
                found.push_back(*change);
        return found;
    }
};
} // namespace

TEST_F(Reports, MakeFacts)
{
    wait_ms(50);
    report(2, 5);
    EXPECT_EQ(source_shown(main, 2), 5);
    EXPECT_TRUE(is_fresh(main, 2));
    EXPECT_EQ(main.facts[2].confirmed, now.utc);
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
    EXPECT_EQ(main.facts[2].confirmed, now.utc);
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
    EXPECT_EQ(author_of(0), (authorship{2, wish_id{one.batch, 0}}));
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
    EXPECT_EQ(became(same), "confirmed");
    EXPECT_EQ(author_of(0), (authorship{2, wish_id{same.batch, 0}}));
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
    desk.live["main"].open.at(0)[1].shown = true;
    report(0, 3);
    EXPECT_EQ(became(older), "contradicted: the router shows CAM 4 instead: taken by ben");
    EXPECT_EQ(became(confirmed), "confirmed");
    EXPECT_EQ(became(newer), "sent");
}

TEST_F(Reports, ConfirmLate)
{
    for (const bool contradicted : {false, true}) {
        const auto one = wish(anna, 0, 2);
        trace_take(desk, now, "main", 0, 2);
        if (contradicted) {
            trace_query(desk, "main", 0);
            shows(0, 0);
        } else {
            wait_ms(3000);
        }
        EXPECT_THAT(main.troubled, SizeIs(1));
        changed();
        wait_ms(500);
        report(0, 2);
        EXPECT_EQ(row_of(one).end, contradicted ? outcome::contradicted : outcome::timed_out);
        EXPECT_EQ(row_of(one).confirmed_late_after,
                  std::chrono::milliseconds(contradicted ? 500 : 3500));
        EXPECT_EQ(author_of(0), (authorship{2, wish_id{one.batch, 0}}));
        EXPECT_THAT(main.troubled, IsEmpty());
        EXPECT_THAT(changed(), ElementsAre(Pair(kind::fact, 0), Pair(kind::wish, 0)));
        report(0, 0);
    }
}

TEST_F(Reports, DoNotConfirmLateWhatWasRefusedOrIsAnotherSource)
{
    const auto refused = wish(anna, 0, 2);
    takes(0, 2);
    trace_take_answer(desk, now, "main", "NAK");
    const auto timed_out = wish(anna, 1, 2);
    takes(1, 2);
    wait_ms(3000);
    report(0, 2);
    report(1, 3);
    EXPECT_EQ(row_of(refused).confirmed_late_after, std::nullopt);
    EXPECT_EQ(row_of(timed_out).confirmed_late_after, std::nullopt);
    EXPECT_THAT(main.troubled, SizeIs(2));
}

TEST_F(Reports, ConfirmLateWithinAMinuteOrAsTheFirst)
{
    struct {
        int heard_ms,
            shown_ms; // after the end: the old source once more, 0 for not; the wished one
        bool late;
    } const cases[] = {
        {1, 60'000, true},
        {1, 60'001, false},
        {0, 3'600'000, true},
    };
    int destination = 0;
    for (const auto& c : cases) {
        const auto one = wish(anna, destination, 2);
        takes(destination, 2);
        wait_ms(3000);
        wait_ms(c.heard_ms);
        if (c.heard_ms > 0) report(destination, 0);
        wait_ms(c.shown_ms - c.heard_ms);
        desk.entries.clear();
        report(destination, 2);
        EXPECT_EQ(row_of(one).confirmed_late_after.has_value(), c.late) << c.shown_ms;
        EXPECT_THAT(outside_changes(), SizeIs(c.late ? 0 : 1));
        EXPECT_EQ(main.troubled.contains(destination), !c.late);
        ++destination;
    }
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

TEST_F(Reports, ConfirmLateNothingThatIsForgotten)
{
    desk.live["main"].troubled[0] = {{9, 9}, 0};
    report(0, 2);
    EXPECT_THAT(outside_changes(), SizeIs(1));
}

TEST_F(Reports, LateDoNotGoBackInTime)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    wait_ms(3000);
    now.utc -= std::chrono::hours(1);
    report(0, 2);
    EXPECT_EQ(row_of(one).confirmed_late_after, monotonic(0));
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
    EXPECT_EQ(author_of(0), (authorship{2, std::nullopt}));
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
    EXPECT_EQ(author_of(0), (authorship{2, wish_id{one.batch, 0}}));
    EXPECT_THAT(outside_changes(), IsEmpty());
    report(0, 3);
    EXPECT_EQ(author_of(0), (authorship{3, std::nullopt}));
}

TEST_F(Reports, FirstOfAllAreNoOutsideChange)
{
    report(POSITIONS_HERE, 3);
    EXPECT_THAT(outside_changes(), IsEmpty());
    report(POSITIONS_HERE, 4);
    EXPECT_THAT(outside_changes(), SizeIs(1));
}

TEST_F(Reports, AfterARestartAreComparedWithTheLastAuthors)
{
    const auto one = wish(anna, 0, 2);
    carry_out(0, 2);
    wish(anna, 1, 3);
    carry_out(1, 3);
    restart();
    report(0, 2);
    report(1, 4);
    EXPECT_EQ(author_of(0), (authorship{2, wish_id{one.batch, 0}}));
    const auto changes = outside_changes();
    ASSERT_THAT(changes, SizeIs(1));
    EXPECT_EQ(changes[0].destination, 1);
    EXPECT_EQ(changes[0].was, 3);
}

TEST_F(Reports, SayWhatARestartFound)
{
    struct {
        int wished, shown;
        const char* became;
        bool late;
    } const cases[] = {
        {2, 2, "unknown: the server was restarted; then the router showed CAM 3", true},
        {2, 0, "unknown: the server was restarted; then the router showed CAM 1", false},
        {2, 3, "unknown: the server was restarted; then the router showed CAM 4", false},
        {0, 0, "unknown: the server was restarted; then the router showed CAM 1", false},
    };
    for (const auto& c : cases) {
        take_request request;
        request.rows = {{{"main", 0, c.wished}, {}}};
        request.send_unchanged = true;
        const auto one = take(desk, now, anna, request);
        restart();
        changed();
        report(0, c.shown);
        EXPECT_EQ(became(one), c.became);
        EXPECT_EQ(row_of(one).confirmed_late_after.has_value(), c.late);
        EXPECT_EQ(author_of(0).by == wish_id(one.batch, 0), c.late);
        EXPECT_EQ(find_live(desk, "main")->troubled.contains(0), !c.late);
        EXPECT_EQ(changed().size(), c.late ? 3 : 2);
        report(0, 1);
        report(0, c.wished); // which tells no more of it
        EXPECT_EQ(became(one), c.became);
        EXPECT_EQ(row_of(one).confirmed_late_after.has_value(), c.late);
        report(0, 0);
    }
}

TEST_F(Reports, ConfirmWhatARestartEndedWithWhatWasShownLast)
{
    const auto one = wish(anna, 0, 2);
    report(0, 5);
    restart();
    report(0, 2);
    EXPECT_TRUE(row_of(one).confirmed_late_after);
    EXPECT_EQ(row_of(one).was, 5);
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
