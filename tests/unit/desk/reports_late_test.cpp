#include "server/desk/undo.h"
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using kind = change::kind;

namespace {
// Of what was wished before, or before a restart.
class LateReports : public DeskTest {
  protected:
    const live_router& main = *find_live(std::as_const(desk), "main");

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
};
} // namespace

TEST_F(LateReports, Confirm)
{
    for (const bool contradicted : {false, true}) {
        const auto one = wish(anna, 0, 2);
        trace_take(desk, now, "main", 0, 2);
        if (contradicted) {
            trace_query(desk, "main", 0);
            wait_ms(1);
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
                  std::chrono::milliseconds(contradicted ? 501 : 3500));
        EXPECT_EQ(author_of(0), (authorship{2, wish_id{one.batch, 0}, "anna", now.utc}));
        EXPECT_THAT(main.troubled, IsEmpty());
        EXPECT_THAT(changed(), ElementsAre(Pair(kind::fact, 0), Pair(kind::wish, 0)));
        report(0, 0);
    }
}

// The first wish is confirmed by the same report: whose take it tells of nobody knows.
TEST_F(LateReports, ConfirmBesideAnOlderWishForTheSource)
{
    const auto older = wish(anna, 0, 2);
    takes(0, 2);
    shows(0, 2); // which no report brings
    const auto newer = wish(ben, 0, 2);
    takes(0, 2);
    for (const int source : {4, 2})
        shows(0, source);
    report(0, 4);
    EXPECT_EQ(row_of(newer).end, outcome::contradicted);
    EXPECT_EQ(became(older), "sent");
    report(0, 2);
    EXPECT_EQ(became(older), "confirmed");
    EXPECT_TRUE(row_of(newer).confirmed_late_after);
    EXPECT_EQ(row_of(newer).was, 4);
    EXPECT_THAT(main.troubled, IsEmpty());
    EXPECT_THAT(outside_changes(), SizeIs(1));
}

TEST_F(LateReports, ConfirmNothingThatWasRefusedOrIsAnotherSource)
{
    const auto refused = wish(anna, 0, 2);
    takes(0, 2);
    refuses(0, "NAK");
    const auto timed_out = wish(anna, 1, 2);
    takes(1, 2);
    wait_ms(3000);
    report(0, 2);
    report(1, 3);
    EXPECT_EQ(row_of(refused).confirmed_late_after, std::nullopt);
    EXPECT_EQ(row_of(timed_out).confirmed_late_after, std::nullopt);
    EXPECT_THAT(main.troubled, SizeIs(2));
}

TEST_F(LateReports, ConfirmWithinAMinuteOrAsTheFirst)
{
    struct {
        int heard_ms,
            shown_ms; // after the end: the old source once more, -1 for not; the wished one
        bool late;
    } const cases[] = {
        {1, 60'000, true},
        {1, 60'001, false},
        {0, 3'600'000, true},
        {-1, 3'600'000, true},
    };
    int destination = 0;
    for (const auto& c : cases) {
        const auto one = wish(anna, destination, 2);
        takes(destination, 2);
        wait_ms(3000);
        const int heard_ms = std::max(c.heard_ms, 0);
        wait_ms(heard_ms);
        if (c.heard_ms >= 0) report(destination, 0);
        wait_ms(c.shown_ms - heard_ms);
        desk.entries.clear();
        report(destination, 2);
        EXPECT_EQ(row_of(one).confirmed_late_after.has_value(), c.late) << c.shown_ms;
        EXPECT_THAT(outside_changes(), SizeIs(c.late ? 0 : 1));
        EXPECT_EQ(main.troubled.contains(destination), !c.late);
        ++destination;
    }
}

TEST_F(LateReports, ConfirmNothingThatIsForgotten)
{
    desk.live["main"].troubled[0].id = {{9, 9}, 0};
    report(0, 2);
    EXPECT_THAT(outside_changes(), SizeIs(1));
}

TEST_F(LateReports, AreTimedByTheSteadyClock)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    wait_ms(3000);
    now.utc -= std::chrono::hours(1);
    report(0, 2);
    EXPECT_EQ(row_of(one).confirmed_late_after, std::chrono::seconds(3));
}

TEST_F(LateReports, SayWhatARestartFound)
{
    struct {
        int wished, shown;
        const char* became;
        bool late;
    } const cases[] = {
        {2, 2, "unknown: the program was restarted; then the router showed CAM 3", true},
        {2, 0, "unknown: the program was restarted; then the router showed CAM 1", false},
        {2, 3, "unknown: the program was restarted; then the router showed CAM 4", false},
        {0, 0, "unknown: the program was restarted; then the router showed CAM 1", false},
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
        EXPECT_EQ(author_of(0).by == (wish_id{one.batch, 0}), c.late);
        EXPECT_EQ(find_live(desk, "main")->troubled.contains(0), !c.late);
        EXPECT_EQ(changed().size(), c.late ? 3 : 2);
        report(0, 1);
        report(0, c.wished); // which tells no more of it
        EXPECT_EQ(became(one), c.became);
        EXPECT_EQ(row_of(one).confirmed_late_after.has_value(), c.late);
        report(0, 0);
    }
}

TEST_F(LateReports, ConfirmWhatARestartEndedWithWhatWasShownLast)
{
    const auto one = wish(anna, 0, 2);
    report(0, 5);
    restart();
    report(0, 2);
    EXPECT_TRUE(row_of(one).confirmed_late_after);
    EXPECT_EQ(row_of(one).was, 5);
}

// What it replaced may have been something else by then.
TEST_F(LateReports, OfWhatARestartEndedAreNotUndone)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    restart();
    report(0, 2);
    EXPECT_TRUE(row_of(one).confirmed_late_after);
    EXPECT_EQ(said(undo(desk, now, anna, how(batch_rule::all))),
              "factUnknown: what destination 1 showed before is not known: "
              "the program was restarted");
}

TEST_F(LateReports, AfterARestartAreComparedWithTheLastAuthors)
{
    const auto one = wish(anna, 0, 2);
    carry_out(0, 2);
    wish(anna, 1, 3);
    carry_out(1, 3);
    const wall heard = now.utc;
    restart();
    report(0, 2);
    report(1, 4);
    EXPECT_EQ(author_of(0), (authorship{2, wish_id{one.batch, 0}, "anna", heard}));
    const auto changes = outside_changes();
    ASSERT_THAT(changes, SizeIs(1));
    EXPECT_EQ(changes[0].destination, 1);
    EXPECT_EQ(changes[0].was, 3);
}

// What became of one that had ended before is told no more.
TEST_F(LateReports, AfterARestartConfirmOnlyWhatItHasEnded)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    wait_ms(3000);
    restart();
    for (int reports = 0; reports < 2; ++reports) {
        report(0, 2);
        EXPECT_EQ(row_of(one).confirmed_late_after, std::nullopt);
        EXPECT_EQ(author_of(0), authorship{});
    }
    EXPECT_TRUE(find_live(desk, "main")->troubled.contains(0));
}

TEST_F(LateReports, ConfirmWithinAMinuteWhateverTheWallClockShows)
{
    for (const bool late : {false, true}) {
        const auto one = wish(anna, late, 2);
        takes(late, 2);
        wait_ms(3000);
        wait_ms(1);
        report(late, 0);
        wait_ms(late ? 59'999 : 60'000);
        now.utc += std::chrono::hours(late ? 1 : -1);
        report(late, 2);
        EXPECT_EQ(row_of(one).confirmed_late_after.has_value(), late);
    }
}

TEST_F(LateReports, ConfirmNothingByWhatWasShownBeforeTheTake)
{
    shows(0, 2); // of somebody else's, which is reported only now
    const auto one = wish(anna, 0, 2);
    trace_take(desk, now, "main", 0, 2);
    wait_ms(3000);
    report(0, 2);
    EXPECT_EQ(row_of(one).confirmed_late_after, std::nullopt);
    EXPECT_EQ(author_of(0).by, std::nullopt);
    for (const int source : {0, 2}) {
        shows(0, source);
        report(0, source);
    }
    EXPECT_TRUE(row_of(one).confirmed_late_after);
}

TEST_F(LateReports, ConfirmByWhatWasShownBeforeTheLimit)
{
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    shows(0, 2);
    wait_ms(3000);
    EXPECT_EQ(became(one), "timed out");
    shows(1, 2);
    report(0, 2);
    EXPECT_TRUE(row_of(one).confirmed_late_after);
}

TEST_F(LateReports, ConfirmNothingThatWasThereBefore)
{
    const auto one = take(desk, now, anna, {{}, {{{"main", 0, 0}, {}}}, true});
    takes(0, 0);
    link(link_state::down);
    wait_ms(3000);
    link(link_state::ready);
    report(0, 0);
    EXPECT_EQ(became(one), "timed out");
    EXPECT_EQ(row_of(one).confirmed_late_after, std::nullopt);
}

// A router that answers no take and refuses the next request is taken to have refused the take; and
// one may read what was sent over a connection that is gone.
TEST_F(LateReports, OfATakeThatMayHaveBeenCarriedOutNameNobody)
{
    enum class trouble {
        refused,
        unread,
        unread_and_asked,
        unread_before_another,
        unread_before_its_like,  // which is shown, and gone
        unread_before_a_failure, // of its like
        not_sent,
    };
    struct {
        trouble what;
        std::vector<int> shown;
        int wait_ms;
        std::size_t outside; // of the last
    } const cases[] = {
        {trouble::refused, {2}, 0, 0},
        {trouble::refused, {3}, 0, 1},
        {trouble::refused, {2}, 60'000, 0},
        {trouble::refused, {2}, 60'001, 1},
        {trouble::refused, {2, 0, 2}, 0, 1},
        {trouble::unread, {0, 2}, 0, 0},
        {trouble::unread_and_asked, {2}, 60'000, 0},
        {trouble::unread_and_asked, {2}, 60'001, 1},
        {trouble::unread_before_another, {2}, 60'000, 0},
        {trouble::unread_before_another, {2}, 60'001, 1},
        {trouble::unread_before_its_like, {2}, 60'000, 0},
        {trouble::unread_before_its_like, {2}, 60'001, 1},
        {trouble::unread_before_a_failure, {2}, 60'000, 0},
        {trouble::unread_before_a_failure, {2}, 60'001, 1},
        {trouble::not_sent, {2}, 0, 1},
    };
    for (const auto& c : cases) {
        const auto is = [&](trouble what) {
            return c.what == what;
        };
        report(0, 0);
        const auto one = wish(anna, 0, 2);
        if (is(trouble::not_sent)) report_backend_ended(desk, now, "main", true);
        if (!is(trouble::not_sent)) takes(0, 2);
        if (is(trouble::refused)) refuses(0);
        if (row_of(one).end == outcome::open) {
            link(link_state::down);
            if (is(trouble::unread)) wait_ms(3000);
            link(link_state::ready);
            trace_query(desk, "main", 0);
            shows(0, 0);
            report(0, 0);
        }
        ASSERT_NE(row_of(one).end, outcome::open);
        if (is(trouble::unread_before_its_like)) {
            wish(ben, 0, 2);
            carry_out(0, 2);
        }
        if (is(trouble::unread_before_another) || is(trouble::unread_before_its_like)) {
            wish(ben, 0, 5);
            carry_out(0, 5);
        }
        if (is(trouble::unread_before_a_failure)) {
            wish(ben, 0, 2);
            takes(0, 2);
            shows(0, 0);
        }
        wait_ms(c.wait_ms);
        for (const int source : c.shown) {
            desk.entries.clear();
            shows(0, source);
            report(0, source);
        }
        EXPECT_THAT(outside_changes(), SizeIs(c.outside)) << became(one) << ' ' << c.wait_ms;
        EXPECT_EQ(author_of(0) == authorship{}, c.outside == 0) << became(one);
        EXPECT_EQ(row_of(one).confirmed_late_after, std::nullopt);
        wait_ms(60'001);
    }
}

// Another wish was the destination's last, and could not be sent.
TEST_F(LateReports, OfATakeLongBeforeARestartNameNobodyWhereTheyAreTheFirst)
{
    for (const bool is_first : {true, false}) {
        wish(ben, 0, 1);
        carry_out(0, 1);
        wish(anna, 0, 2);
        takes(0, 2);
        LateReports::wait_ms(3000);
        wish(anna, 0, 3);
        link(link_state::down);
        report_backend_ended(desk, now, "main");
        LateReports::wait_ms(61'000);
        restart();
        if (!is_first) report(0, 1);
        report(0, 2);
        EXPECT_THAT(outside_changes(), SizeIs(is_first ? 0 : 1));
    }
}

TEST_F(LateReports, OfATakeThatMayStillComeAfterARestartNameNobody)
{
    for (const bool ended : {true, false})
        for (const int wait_ms : {59'990, 60'010}) {
            const auto one = wish(anna, 0, 2);
            takes(0, 2);
            if (ended) LateReports::wait_ms(3000);
            restart();
            report(0, 0);
            LateReports::wait_ms(wait_ms);
            forget_told();
            report(0, 2);
            EXPECT_THAT(outside_changes(), SizeIs(wait_ms < 60'000 ? 0 : 1)) << ended;
            EXPECT_EQ(row_of(one).confirmed_late_after, std::nullopt);
            report(0, 0);
            LateReports::wait_ms(60'000);
        }
}
