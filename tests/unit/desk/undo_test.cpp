#include "unit/desk/undo_test.h"

#include <functional>

#include "server/desk/locks.h"
#include "server/desk/setup.h"

using namespace desk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {
class Undo : public UndoTest {};
} // namespace

TEST_F(Undo, PutsBackWhatTheNewestTakeChanged)
{
    put(anna, 0, 5);
    const ulid second = put(anna, 1, 6);
    forget_told();
    const take_answer answer = undo_all(anna);
    EXPECT_THAT(ordered(), ElementsAre("main 1<0"));
    const batch& made = desk.house.batches.at(answer.batch);
    EXPECT_EQ(made.kind, batch_kind::undo);
    EXPECT_EQ(made.of, second);
    EXPECT_EQ(made.person, "anna");
    finish(answer);
    forget_told();
    undo_all(anna);
    EXPECT_THAT(ordered(), ElementsAre("main 0<0"));
}

TEST_F(Undo, PutsBackWhatWasThereWhenTheTakeCame)
{
    wish(anna, 0, 5);
    wish(ben, 0, 6);
    takes(0, 5);
    takes(0, 6);
    show(0, 5);
    show(0, 6);
    forget_told();
    undo_all(ben);
    EXPECT_THAT(ordered(), ElementsAre("main 0<5"));
}

TEST_F(Undo, IsPerPerson)
{
    put(anna, 0, 5);
    put(ben, 1, 6);
    forget_told();
    undo_all(anna);
    EXPECT_THAT(ordered(), ElementsAre("main 0<0"));
    EXPECT_EQ(undo_all(eve).why, reason::nothing_to_do);
    EXPECT_EQ(undo_all(eve).detail, "there is nothing to undo");
}

TEST_F(Undo, HasNothingToDoWhenAllIsUndone)
{
    put(anna, 0, 5);
    finish(undo_all(anna));
    forget_told();
    EXPECT_EQ(undo_all(anna).why, reason::nothing_to_do);
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(Undo, CannotBeRedoneAfterAnotherTake)
{
    put(anna, 0, 5);
    finish(undo_all(anna));
    put(anna, 1, 6);
    const take_answer answer = redo(desk, now, anna, how(batch_rule::all));
    EXPECT_EQ(answer.why, reason::nothing_to_do);
    EXPECT_EQ(answer.detail, "there is nothing to redo");
}

// What stands against putting CAM 6 on MON A back, taken by anna and confirmed, after this.
TEST_F(Undo, RefusesToGuess)
{
    struct {
        std::function<void()> then;
        reason why;
        const char* detail;
    } const cases[] = {
        {[] {}, reason::none, ""},
        {[&] { put(ben, 0, 6); }, reason::changed_since,
         "MON A was changed since: it shows CAM 7, taken by ben"},
        {[&] { show(0, 6); }, reason::changed_since,
         "MON A was changed since: it shows CAM 7, taken by somebody else"},
        // The same as anna had put there, but not hers.
        {[&] {
             put(ben, 0, 6);
             put(ben, 0, 5);
         },
         reason::changed_since, "MON A was changed since: it shows CAM 6, taken by ben"},
        {[&] {
             show(0, 6);
             show(0, 5);
         },
         reason::changed_since, "MON A was changed since: it shows CAM 6, taken by somebody else"},
        // Somebody has changed it back before anything was reported.
        {[&] {
             shows(0, 6);
             show(0, 5);
         },
         reason::fact_unknown, "whose doing it is that MON A shows CAM 6 is not known"},
        // Whose doing it was is not known: no report could be of the take that timed out.
        {[&] {
             wish(ben, 0, 6);
             takes(0, 6);
             report(0, 6);
             wait_ms(3000);
         },
         reason::changed_since, "MON A was changed since: it shows CAM 7, it is not known by whom"},
        // Somebody's change and its undoing, reported after the like takes that timed out.
        {[&] {
             wait_ms(1);
             shows(0, 6);
             shows(0, 5);
             for (const int source : {6, 5}) {
                 wish(ben, 0, source);
                 takes(0, source);
             }
             report(0, 6);
             report(0, 5);
             wait_ms(3000);
         },
         reason::fact_unknown, "whose doing it is that MON A shows CAM 6 is not known"},
        {[&] { wish(ben, 0, 6); }, reason::changed_since, "ben has asked for CAM 7 on MON A since"},
        {[&] {
             remove_router(desk, now, eve, "main");
             add_router("main", "Main");
             report(0, 5);
         },
         reason::changed_since, "MON A was changed since: it shows CAM 6, taken by somebody else"},
        {[&] { link(link_state::down, "no answer"); }, reason::link_not_ready,
         "the link to Main is down: no answer"},
        {[&] {
             link(link_state::down);
             link(link_state::ready);
         },
         reason::fact_unknown, "what MON A shows is not known"},
        {[&] {
             link(link_state::down);
             link(link_state::ready);
             report(0, 5);
         },
         reason::none, ""},
        {[&] { set_lock(desk, now, ben, "main", 0, lock_mode::protect, "on air", {}); },
         reason::protected_by_other, "MON A is protected by ben (on air)"},
        {[&] { anna.may.usual = right::view; }, reason::no_right,
         "anna may not route MON A of Main"},
        {[&] { remove_router(desk, now, eve, "main"); }, reason::no_such_router,
         "there is no router \"main\""},
    };
    put(anna, 0, 5);
    const desk_state before = desk;
    const actor anna_before = anna;
    for (const auto& c : cases) {
        desk = before;
        anna = anna_before;
        c.then();
        EXPECT_EQ(why_not(), c.why) << c.detail;
        EXPECT_EQ(detail, c.detail);
    }
}

TEST_F(Undo, RefusesWhatWasNotKnownBefore)
{
    report_counts(desk, "main", POSITIONS_HERE, POSITIONS_HERE + 1);
    put(anna, POSITIONS_HERE, 5);
    EXPECT_EQ(why_not(), reason::fact_unknown);
    EXPECT_EQ(detail, "the source for destination 9 is not known");
}

TEST_F(Undo, RefusesWhatHasNotBeenConfirmed)
{
    wish(anna, 0, 5);
    EXPECT_EQ(why_not(), reason::not_confirmed);
    EXPECT_EQ(detail, "CAM 6 on MON A has not been confirmed: open");
    takes(0, 5);
    refuses(0, "NAK 0005");
    EXPECT_EQ(why_not(), reason::not_confirmed);
    EXPECT_EQ(detail, "CAM 6 on MON A has not been confirmed: refused");
}

TEST_F(Undo, TakesWhatWasConfirmedLate)
{
    wish(anna, 0, 5);
    takes(0, 5);
    wait_ms(5000);
    EXPECT_EQ(why_not(), reason::not_confirmed);
    show(0, 5);
    EXPECT_EQ(why_not(), reason::none);
}

TEST_F(Undo, GoesAllOrNotAtAllByThatRule)
{
    put_two(anna);
    show(0, 7);
    forget_told();
    EXPECT_EQ(undo_all(anna).rows.at(1).why, reason::blocked_by_other_row);
    EXPECT_THAT(ordered(), IsEmpty());
    show(0, 5); // put there from outside: it stays blocked, and the step stays
    EXPECT_EQ(undo_all(anna).rows.at(0).why, reason::changed_since);
}

TEST_F(Undo, UsesItsStepUpByTheRuleRest)
{
    put(anna, 2, 3);
    put_two(anna);
    show(0, 7);
    forget_told();
    undo(desk, now, anna, how(batch_rule::rest));
    EXPECT_THAT(ordered(), ElementsAre("main 1<0"));
    forget_told();
    undo_all(anna);
    EXPECT_THAT(ordered(), ElementsAre("main 2<0"));
}

TEST_F(Undo, UsesItsStepUpWhereNothingHadToBeSent)
{
    put(anna, 2, 3);
    take_request request;
    request.rows = {{{"main", 0, 0}, {}}};
    request.send_unchanged = true;
    take(desk, now, anna, request);
    carry_out(0, 0);
    forget_told();
    EXPECT_TRUE(undo_all(anna).rows.at(0).unchanged);
    EXPECT_THAT(ordered(), IsEmpty());
    undo_all(anna);
    EXPECT_THAT(ordered(), ElementsAre("main 2<0"));
}

TEST_F(Undo, PassesOverWhatWasNeverSent)
{
    put(anna, 2, 3);
    wish(anna, 0, 5);
    link(link_state::down, "no answer");
    report_backend_ended(desk, now, "main");
    link(link_state::ready);
    report(2, 3);
    forget_told();
    undo_all(anna);
    EXPECT_THAT(ordered(), ElementsAre("main 2<0"));
}

TEST_F(Undo, PassesOverWhatWasSuperseded)
{
    put(anna, 2, 3);
    wish(anna, 0, 5);
    wish(ben, 0, 6);
    takes(0, 6);
    forget_told();
    undo_all(anna);
    EXPECT_THAT(ordered(), ElementsAre("main 2<0"));
}

TEST_F(Undo, HappensOnceUnderAnId)
{
    put(anna, 0, 5);
    const ulid rolled_back = put(anna, 1, 6);
    const batch_command once = how(batch_rule::all, false, {7, 7});
    const batch_command back = how(batch_rule::all, false, {7, 8});
    finish(undo(desk, now, anna, once));
    forget_told();
    EXPECT_TRUE(undo(desk, now, anna, once).rows.at(0).goes);
    EXPECT_TRUE(redo(desk, now, anna, once).rows.at(0).goes);
    EXPECT_THAT(desk.entries, IsEmpty());
    finish(redo(desk, now, anna, how(batch_rule::all)));
    finish(roll_back(desk, now, anna, desk.house.undo.at("anna").undo.back().batch, back));
    forget_told();
    EXPECT_TRUE(roll_back(desk, now, anna, rolled_back, back).rows.at(0).goes);
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(Undo, RunsDry)
{
    put(anna, 0, 5);
    forget_told();
    for (int times = 0; times < 2; ++times) {
        const take_answer answer = undo(desk, now, anna, how(batch_rule::all, true));
        EXPECT_TRUE(answer.rows.at(0).goes);
        EXPECT_TRUE(answer.batch.is_none());
    }
    EXPECT_THAT(desk.orders, IsEmpty());
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(Undo, ForgetsOldSteps)
{
    put(anna, 0, 5);
    now.utc += UNDO_AGE;
    EXPECT_TRUE(undo(desk, now, anna, how(batch_rule::all, true)).rows.at(0).goes);
    now.utc += wall(1);
    EXPECT_EQ(undo(desk, now, anna, how(batch_rule::all, true)).why, reason::nothing_to_do);
}

TEST_F(Undo, KnowsRowsOfForgottenBatches)
{
    const ulid batch = put(anna, 0, 5);
    desk.house.batches.erase(batch);
    EXPECT_EQ(why_not(), reason::none);
}

TEST_F(Undo, RollsAnybodysBatchBack)
{
    const ulid batch = put_two(ben);
    const take_answer answer = roll_back(desk, now, anna, batch, how(batch_rule::all));
    EXPECT_THAT(ordered(), ElementsAre("main 0<0 1<0"));
    EXPECT_EQ(desk.house.batches.at(answer.batch).kind, batch_kind::rollback);
    EXPECT_EQ(desk.house.batches.at(answer.batch).salvo_version, 0);
    EXPECT_EQ(desk.house.batches.at(answer.batch).of, batch);
    EXPECT_EQ(desk.house.batches.at(answer.batch).person, "anna");
}

TEST_F(Undo, RollsBackWhatItCan)
{
    const ulid batch = put_two(ben);
    put(anna, 0, 7);
    forget_told();
    EXPECT_EQ(roll_back(desk, now, anna, batch, how(batch_rule::all)).rows.at(0).why,
              reason::changed_since);
    EXPECT_THAT(ordered(), IsEmpty());
    roll_back(desk, now, anna, batch, how(batch_rule::rest));
    EXPECT_THAT(ordered(), ElementsAre("main 1<0"));
}

TEST_F(Undo, RollsNothingBackWhereNothingWent)
{
    set_lock(desk, now, ben, "main", 0, lock_mode::lock, "", {});
    const std::vector<route> rows{{"main", 0, 5}, {"main", 1, 0}}; // locked, unchanged
    const ulid batch = wish(anna, rows, batch_rule::rest).batch;
    EXPECT_EQ(roll_back(desk, now, anna, batch, how(batch_rule::all)).why, reason::nothing_to_do);
    EXPECT_EQ(roll_back(desk, now, anna, {1, 1}, how(batch_rule::all)).why, reason::no_such_batch);
}

TEST_F(Undo, TakesRollbacksBack)
{
    const ulid batch = put(ben, 0, 5);
    finish(roll_back(desk, now, anna, batch, how(batch_rule::all)));
    finish(undo_all(anna));
    expect_shown(5);
}
