#include "server/desk/locks.h"
#include "unit/console/console_test.h"

using namespace console;

using testing::HasSubstr;

class SalvoCommands : public ConsoleTest {
  protected:
    SalvoCommands()
    {
        setenv("TZ", "UTC", 1);
        tzset();
        console.desk.orders.clear();
    }

    // Routes of both routers.
    void save_news()
    {
        ask("stage 1 3");
        ask("stage 2 4");
        ask("use back");
        ask("stage 1 5");
        ask("use main");
        ask("salvo save NEWS");
    }
};

TEST_F(SalvoCommands, SaveKeepsTheStageOfAllRouters)
{
    EXPECT_EQ(says("salvo list"), "There are no salvos.\n");
    EXPECT_EQ(says("salvo save NEWS"), "Nothing is staged, so there is nothing to save.\n");
    EXPECT_EQ(ask("salvo save NEWS").verdict, verdict::refused);
    save_news();
    ask("unstage 2");
    EXPECT_EQ(says("salvo save news"), "Saved salvo news, version 2, 2 routes:\n"
                                       "  MON A of back <- CAM 5\n"
                                       "  MON A <- CAM 3\n");
    EXPECT_EQ(says("salvo list"), "SALVO  ROUTES  VERSION  SAVED                BY\n"
                                  "news        2        2  2026-11-21 14:02:11  anna\n");
    const nlohmann::json expected = {{"command", "salvo list"},
                                     {"salvos",
                                      {{{"name", "news"},
                                        {"version", 2},
                                        {"saved", "2026-11-21T14:02:11.000Z"},
                                        {"author", "anna"},
                                        {"count", 2}}}}};
    EXPECT_EQ(ask("salvo list").json, expected);
    EXPECT_THAT(says("staged"), HasSubstr("MON A: CAM 1 -> CAM 3")) << "stays staged";
    EXPECT_TRUE(console.desk.orders.empty());
}

TEST_F(SalvoCommands, SaveWithAFilterKeepsWhatIsShownNow)
{
    report(1, 4);
    report(2, desk::NO_SOURCE);
    ask("stage 8 8");
    EXPECT_EQ(says("salvo save EVENING 1-3 MON"), "Saved salvo EVENING, version 1, 3 routes:\n"
                                                  "  MON A <- CAM 1\n"
                                                  "  MON B <- CAM 5\n"
                                                  "  MON C <- no source\n");
    EXPECT_EQ(says("salvo save EVENING nothing"), "No destination fits that.\n");
    EXPECT_EQ(ask("salvo save EVENING 7-3").verdict, verdict::wrong_use);
    link(desk::link_state::down);
    const answer stale = ask("salvo save EVENING 1-3");
    EXPECT_EQ(stale.text, "Not saved: what MON A shows now is not known.\n");
    EXPECT_EQ(stale.verdict, verdict::refused);
    EXPECT_THAT(says("salvo list"), HasSubstr("EVENING       3        1"));
}

TEST_F(SalvoCommands, ShowTellsWhatIsShownNowAndOfTheLastRun)
{
    save_news();
    report(0, 2);
    link(desk::link_state::down, "", "back");
    EXPECT_EQ(says("salvo show news"),
              "Salvo NEWS, version 1, saved by anna at 2026-11-21 14:02:11, 3 routes:\n"
              "  MON A of back <- CAM 5 (what it shows now is not known)\n"
              "  MON A <- CAM 3 (shown now)\n"
              "  MON B <- CAM 4 (now CAM 1)\n");
    ask("salvo take NEWS --rest");
    EXPECT_THAT(says("salvo show NEWS"),
                testing::EndsWith("Taken last at 2026-11-21 14:02:11: under way.\n"));
    wait_ms(12);
    carry_out(1, 3);
    EXPECT_THAT(
        says("salvo show NEWS"),
        testing::EndsWith("Taken last at 2026-11-21 14:02:11: 1 of 2 confirmed after 12 ms, "
                          "1 shown already.\n"));
}

TEST_F(SalvoCommands, ShowTellsSharedNamesApart)
{
    ask("salvo save ONE 1");
    desk::report_names(console.desk, "main", desk::side::sources, {"CAM", "CAM"});
    report(0, 1);
    EXPECT_THAT(says("salvo show ONE"), HasSubstr("MON A <- CAM (1) (now CAM (2))\n"));
}

TEST_F(SalvoCommands, TakeIsOneBatchOnAllRouters)
{
    save_news();
    console.desk.orders.clear();
    EXPECT_EQ(says("dry-run salvo take NEWS"), "Salvo NEWS, version 1:\n"
                                               "Would take 3 routes:\n"
                                               "  MON A of back: CAM 1 -> CAM 5\n"
                                               "  MON A: CAM 1 -> CAM 3\n"
                                               "  MON B: CAM 1 -> CAM 4\n");
    EXPECT_TRUE(console.desk.orders.empty());
    const answer told = ask("salvo take NE");
    EXPECT_EQ(told.text, "Salvo NEWS, version 1:\n"
                         "Taking 3 routes:\n"
                         "  MON A of back: CAM 1 -> CAM 5\n"
                         "  MON A: CAM 1 -> CAM 3\n"
                         "  MON B: CAM 1 -> CAM 4\n");
    EXPECT_EQ(told.json["salvo"], "NEWS");
    EXPECT_EQ(console.desk.orders.size(), 2U) << "one for each router";
    carry_out(0, 2);
    carry_out(1, 3);
    happened();
    wait_ms(30);
    carry_out(0, 4, "back");
    EXPECT_THAT(happened(), HasSubstr("Salvo NEWS: all 3 confirmed, slowest 30 ms.\n"));
}

TEST_F(SalvoCommands, TakeSendsNothingWhenOneRouteIsBlocked)
{
    save_news();
    console.desk.orders.clear();
    link(desk::link_state::down, "lost", "back");
    const answer told = ask("salvo take NEWS");
    EXPECT_EQ(told.text, "Salvo NEWS, version 1:\n"
                         "Nothing was sent: 1 of 3 routes is blocked:\n"
                         "  MON A of back <- CAM 5: the link to back is down: lost\n"
                         "With --rest, what can go goes.\n");
    EXPECT_EQ(told.verdict, verdict::not_ready);
    EXPECT_TRUE(console.desk.orders.empty());
    EXPECT_EQ(says("salvo rollback NEWS"), "Salvo NEWS has not been taken here.\n");
}

TEST_F(SalvoCommands, RollbackPutsBackWhatTheLastRunChanged)
{
    save_news();
    ask("salvo take NEWS");
    carry_out(0, 2);
    carry_out(1, 3);
    carry_out(0, 4, "back");
    report(1, 6);
    console.desk.orders.clear();
    const answer refused = ask("salvo rollback NEWS");
    EXPECT_EQ(refused.text, "Salvo NEWS, taken at 2026-11-21 14:02:11:\n"
                            "Nothing was sent: 1 of 3 routes is blocked:\n"
                            "  MON B <- CAM 1: MON B was changed since: it shows CAM 7, taken by "
                            "somebody else\n"
                            "With --rest, what can go goes.\n");
    EXPECT_EQ(refused.verdict, verdict::refused);
    EXPECT_TRUE(console.desk.orders.empty());
    EXPECT_THAT(says("salvo rollback NEWS --rest"), HasSubstr("Rolling back 2 of 3 routes:\n"
                                                              "  MON A of back: CAM 5 -> CAM 1\n"
                                                              "  MON A: CAM 3 -> CAM 1\n"));
    EXPECT_EQ(console.desk.orders.size(), 2U);
}

TEST_F(SalvoCommands, RollbackPassesOverARunThatChangedNothing)
{
    save_news();
    ask("salvo take NEWS");
    carry_out(0, 2);
    carry_out(1, 3);
    carry_out(0, 4, "back");
    wait_ms(60'000);
    ask("salvo take NEWS");
    EXPECT_THAT(says("salvo rollback NEWS"), HasSubstr("Salvo NEWS, taken at 2026-11-21 14:02:11:\n"
                                                       "Rolling back 3 routes:\n"));
}

TEST_F(SalvoCommands, RollbackPassesOverARunThatTheRouterRefused)
{
    save_news();
    ask("salvo take NEWS");
    carry_out(0, 2);
    carry_out(1, 3);
    carry_out(0, 4, "back");
    wait_ms(60'000);
    report(1, 0);
    ask("salvo take NEWS");
    desk::trace_take_answer(console.desk, now, "main", "");
    desk::trace_take_answer(console.desk, now, "main", "");
    desk::trace_take(console.desk, now, "main", 1, 3);
    EXPECT_THAT(says("salvo rollback NEWS"),
                HasSubstr("MON B <- CAM 1: the take of CAM 4 there is still under way.\n"));
    desk::trace_take_answer(console.desk, now, "main", "NAK 0005");
    EXPECT_THAT(says("salvo rollback NEWS --rest"),
                HasSubstr("Salvo NEWS, taken at 2026-11-21 14:02:11:\n"
                          "Rolling back 2 of 3 routes:\n"));
}

TEST_F(SalvoCommands, RollbackHasNothingToDoWhereNothingWasEverChanged)
{
    ask("salvo save NOW 1-2");
    ask("salvo take NOW");
    EXPECT_THAT(says("salvo rollback NOW"),
                HasSubstr("Nothing of this batch was sent to a router"));
}

TEST_F(SalvoCommands, DeleteForgetsASalvo)
{
    save_news();
    EXPECT_EQ(says("salvo delete NEWS"), "Deleted salvo NEWS.\n");
    EXPECT_EQ(says("salvo list"), "There are no salvos.\n");
    for (const char* line : {"salvo delete NEWS", "salvo show NEWS", "salvo take NEWS"}) {
        EXPECT_EQ(says(line), "There is no salvo \"NEWS\": no salvos are known.\n") << line;
        EXPECT_EQ(ask(line).verdict, verdict::wrong_use) << line;
    }
}

TEST_F(SalvoCommands, AreListedByTheirOwnCommand)
{
    save_news();
    EXPECT_EQ(says("salvo take weather"),
              "There is no salvo \"weather\"; \"salvo list\" lists them.\n");
}

TEST_F(SalvoCommands, RefusesNamesThatNoSalvoCanHave)
{
    ask("stage 1 3");
    EXPECT_EQ(says("salvo save ''"),
              "Not saved: a salvo's name has 1 to 255 bytes, none for control.\n");
}
