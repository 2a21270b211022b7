#include "unit/desk/undo_test.h"

using namespace desk;

namespace {
class UndoSteps : public UndoTest {};
} // namespace

TEST_F(UndoSteps, CanBeRedoneAndUndoneAgain)
{
    put(anna, 0, 5);
    finish(undo_all(anna));
    const take_answer again = redo(desk, now, anna, how(batch_rule::all));
    EXPECT_EQ(desk.house.batches.at(again.batch).kind, batch_kind::redo);
    finish(again);
    expect_shown(5);
    EXPECT_EQ(redo(desk, now, anna, how(batch_rule::all)).why, reason::nothing_to_do);
    finish(undo_all(anna));
    expect_shown(0);
}

TEST_F(UndoSteps, GoesBackStepByStepAndForthAgain)
{
    for (const int source : {5, 6, 7})
        put(anna, 0, source);
    for (const int source : {6, 5, 0}) {
        finish(undo_all(anna));
        expect_shown(source);
    }
    EXPECT_EQ(undo_all(anna).why, reason::nothing_to_do);
    for (const int source : {5, 6, 7}) {
        finish(redo(desk, now, anna, how(batch_rule::all)));
        expect_shown(source);
    }
    finish(undo_all(anna));
    put(anna, 0, 4);
    for (const int source : {6, 5, 0}) {
        finish(undo_all(anna));
        expect_shown(source);
    }
}

TEST_F(UndoSteps, GoesBackAfterARollback)
{
    put(anna, 0, 5);
    finish(roll_back(desk, now, anna, put(anna, 0, 6), how(batch_rule::all)));
    finish(undo_all(anna));
    for (const int source : {5, 0}) {
        finish(undo_all(anna));
        expect_shown(source);
    }
}

TEST_F(UndoSteps, GoesBackOverEachRowOfABatch)
{
    put(anna, 1, 3);
    put_two(anna);
    undo_all(anna);
    carry_out(0, 0);
    carry_out(1, 3);
    const take_answer first = undo_all(anna);
    EXPECT_EQ(said(first), "goes");
    EXPECT_EQ(first.rows.at(0).wished, (route{"main", 1, 0}));
}

// However often the same source is there again.
TEST_F(UndoSteps, GoesBackOverNoChangeOfOthers)
{
    put(anna, 0, 5);
    put(ben, 0, 6);
    finish(undo_all(ben));
    EXPECT_EQ(why_not(), reason::changed_since);
    put(anna, 0, 7);
    finish(undo_all(anna));
    expect_shown(5);
    EXPECT_EQ(why_not(), reason::changed_since);

    put(anna, 1, 5);
    show(1, 6);
    show(1, 5);
    put(anna, 1, 7);
    finish(undo_all(anna));
    EXPECT_EQ(why_not(), reason::changed_since);
}

TEST_F(UndoSteps, GoOnOverATakeThatANewerOnePassed)
{
    put(anna, 0, 2);
    for (const int source : {3, 4}) {
        wish(anna, 0, source);
        takes(0, source);
        shows(0, source);
    }
    report(0, 4); // of both
    finish(undo_all(anna));
    expect_shown(2);
    const take_answer passed = undo(desk, now, anna, how(batch_rule::rest));
    EXPECT_EQ(passed.rows.at(0).why, reason::not_confirmed);
    finish(undo_all(anna));
    expect_shown(0);
}

// Reports of the like takes' sources that came before them, from somebody else.
TEST_F(UndoSteps, EndAtWhatSomebodyElseHasBroughtBack)
{
    put(anna, 0, 2);
    wait_ms(10);
    trace_query(desk, "main", 0);
    trace_query(desk, "main", 0);
    for (const int source : {3, 2, 6}) {
        wish(ben, 0, source);
        takes(0, source);
    }
    for (const int source : {3, 2}) {
        shows(0, source);
        report(0, source);
        wait_ms(10);
    }
    wait_ms(3100);
    for (int i = 0; i < 3; ++i)
        trace_query_unanswered(desk, now, "main", 0, false);
    put(anna, 0, 4);
    finish(undo_all(anna));
    expect_shown(2);
    EXPECT_EQ(undo_all(anna).rows.at(0).why, reason::changed_since);
}

TEST_F(UndoSteps, LeavesWhatATakeOfTheSameHadChangedBefore)
{
    for (const bool as_one : {false, true}) {
        const auto annas = wish(anna, 0, 5);
        const auto bens = wish(ben, 0, 5);
        takes(0, 5);
        takes(0, 5);
        shows(0, 5);
        if (!as_one) report(0, 5);
        shows(0, 5);
        if (as_one) report(0, 5);
        EXPECT_EQ(became(bens), "confirmed");
        EXPECT_EQ(row_of(annas).was, 0);
        EXPECT_EQ(row_of(bens).was, 5);
        EXPECT_EQ(said(undo_all(ben)), "unchanged");
        show(0, 0);
    }
}

// Pressed twice, the second changes nothing.
TEST_F(UndoSteps, GoesBackBeforeATakeThatWasRepeated)
{
    wish(anna, 0, 5);
    wish(anna, 0, 5);
    for (int i = 0; i < 2; ++i)
        carry_out(0, 5);
    EXPECT_EQ(said(undo_all(anna)), "unchanged");
    finish(undo_all(anna));
    expect_shown(0);
}

TEST_F(UndoSteps, CanBeTriedAgainWhenTheyWereNotSent)
{
    put(anna, 2, 4);
    const ulid two = put_two(anna);
    const take_answer tried = undo(desk, now, anna, how(batch_rule::rest));
    link(link_state::down);
    report_backend_ended(desk, now, "main"); // which ends the last row first
    link(link_state::ready);
    for (const int destination : {0, 1})
        report(destination, source_shown(*find_live(desk, "main"), destination));
    EXPECT_EQ(row_of(tried, 1).end, outcome::not_sent);
    const take_answer again = undo_all(anna);
    EXPECT_EQ(desk.house.batches.at(again.batch).of, two);
    ASSERT_EQ(again.rows.size(), 2);
    EXPECT_EQ(again.rows[0].wished.destination, 0);
    for (const row_answer& row : again.rows)
        carry_out(row.wished.destination, row.wished.source);
    EXPECT_EQ(became(again, 0), "confirmed");
    EXPECT_EQ(became(again, 1), "confirmed");
    EXPECT_EQ(undo_steps(desk.house, now, "anna").size(), 1);
}

TEST_F(UndoSteps, CanBeTriedAgainWhenTheRouterRefusesThemUnlessTheRestWasToGo)
{
    put(anna, 1, 6);
    const ulid last = put(anna, 0, 5);
    for (int i = 0; i < 2; ++i)
        trace_take_answer(desk, now, "main", "");
    for (const batch_rule rule : {batch_rule::all, batch_rule::rest}) {
        const take_answer tried = undo(desk, now, anna, how(rule));
        EXPECT_EQ(desk.house.batches.at(tried.batch).of, last);
        takes(0, 0);
        trace_take_answer(desk, now, "main", "refused by the router (ER 07)");
        shows(0, 5);
        EXPECT_EQ(row_of(tried).end, outcome::refused);
    }
    EXPECT_NE(undo_steps(desk.house, now, "anna").front()->batch, last);
}

TEST_F(UndoSteps, StayAsManyWhenOneIsGivenBack)
{
    for (std::size_t i = 0; i <= UNDO_STEPS; ++i)
        put(anna, 0, static_cast<int>(i % 2) + 2);
    undo_all(anna);
    put(anna, 1, 3);
    link(link_state::down);
    report_backend_ended(desk, now, "main");
    EXPECT_EQ(desk.house.undo.at("anna").undo.size(), UNDO_STEPS);
}
