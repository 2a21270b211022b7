// Takes whose wishes have ended and that the router may still carry out.
#include "server/desk/unshown.h"
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::IsEmpty;
using testing::SizeIs;

using Unshown = DeskTest;

// It was shown before the link went, and no report had brought it.
TEST_F(Unshown, NamesNobodyForATakeThatOnlyTheTrafficHasShown)
{
    report(0, 0);
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    const auto next = wish(anna, 0, 3);
    shows(0, 2);
    link(link_state::down);
    report_backend_ended(desk, now, "main");
    EXPECT_EQ(row_of(next).end, outcome::not_sent) << "and it is the last";
    wait_ms(3000);
    EXPECT_EQ(row_of(one).end, outcome::timed_out);
    wait_ms(10'000);
    forget_told();
    link(link_state::ready);
    report(0, 2);
    EXPECT_THAT(outside_changes(), IsEmpty());
}

TEST_F(Unshown, NamesNobodyForATakeThatMayHaveBeenSent)
{
    report(0, 0);
    wish(anna, 0, 2);
    wish(anna, 0, 3);
    link(link_state::down);
    report_backend_ended(desk, now, "main", false);
    link(link_state::ready);
    report(0, 2);
    EXPECT_THAT(outside_changes(), IsEmpty());
}

TEST_F(Unshown, NamesNobodyForWhatTheFirstReportSinceBringsLate)
{
    enum { FIRST, SECOND, FIRST_OF_SECOND_CONNECTION };
    for (const int told : {FIRST, SECOND, FIRST_OF_SECOND_CONNECTION}) {
        report(0, 0);
        const auto one = wish(anna, 0, 2);
        takes(0, 2);
        wait_ms(3000);
        EXPECT_EQ(row_of(one).end, outcome::timed_out);
        wish(anna, 0, 3);
        link(link_state::down);
        report_backend_ended(desk, now, "main");
        wait_ms(61'000);
        forget_told();
        link(link_state::ready);
        if (told != FIRST) report(0, 0);
        if (told == FIRST_OF_SECOND_CONNECTION) link(link_state::down);
        link(link_state::ready);
        report(0, 2);
        EXPECT_THAT(outside_changes(), SizeIs(told == FIRST ? 0 : 1)) << told;
    }
}

// The wish has ended before the report came, and nobody waits for it.
TEST_F(Unshown, NamesNobodyForWhatHasBeenPassedAndIsReportedThen)
{
    report(0, 0);
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    shows(0, 2);
    shows(0, 5);
    wait_ms(3000);
    EXPECT_EQ(row_of(one).end, outcome::contradicted);
    EXPECT_EQ(said(accept_outcome(desk, now, anna, "main", 0)), "");
    forget_told();
    report(0, 2);
    EXPECT_THAT(outside_changes(), IsEmpty());
    report(0, 5);
    EXPECT_THAT(outside_changes(), SizeIs(1));
}

// Of no more takes than the desk remembers for a destination.
TEST_F(Unshown, NamesSomebodyForTheOldestOfTooMany)
{
    for (const bool one_more : {false, true}) {
        live_router& live = desk.live.at("main");
        live.unshown_takes.clear();
        const auto take = [&](int source) {
            note_unshown(live, now, 0, {source, 1, now.steady + LATE_LIMIT, now.steady});
        };
        take(2);
        for (std::size_t i = 1; i < TAKES_UNSHOWN; ++i)
            take(100 + static_cast<int>(i));
        take(101); // is among them
        if (one_more) take(200);
        report(0, 0);
        forget_told();
        report(0, 2);
        EXPECT_THAT(outside_changes(), SizeIs(one_more ? 1 : 0));
    }
}

// Those are of no connection that is known.
TEST_F(Unshown, OfBeforeTheStartStayWhenWhatMayHaveBeenSentIsConfirmed)
{
    wish(anna, 0, 2);
    takes(0, 2);
    wait_ms(3000);
    desk_state again = make_desk(2, desk.house, now);
    desk = std::move(again);
    report_counts(desk, "main", POSITIONS_HERE, POSITIONS_HERE);
    connect("main");
    const auto next = wish(anna, 0, 3);
    link(link_state::down);
    report_backend_ended(desk, now, "main", false);
    link(link_state::ready);
    report(0, 3);
    EXPECT_TRUE(row_of(next).confirmed_late_after);
    forget_told();
    report(0, 2);
    EXPECT_THAT(outside_changes(), IsEmpty());
}
