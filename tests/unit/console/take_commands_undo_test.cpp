#include "unit/console/console_test.h"

using namespace console;

using UndoCommands = ConsoleTest;

TEST_F(UndoCommands, UndoAndRedoSayPerRowWhatGoesBack)
{
    EXPECT_EQ(says("undo"), "There is nothing to undo.\n");
    EXPECT_EQ(says("redo"), "There is nothing to redo.\n");
    ask("stage 1 3");
    ask("stage 2 3");
    ask("take");
    carry_out(0, 2);
    carry_out(1, 2);
    EXPECT_EQ(says("dry-run undo"), "Would undo 2 routes:\n"
                                    "  MON A: CAM 3 -> CAM 1\n"
                                    "  MON B: CAM 3 -> CAM 1\n");
    report(1, 4);
    const answer refused = ask("undo");
    EXPECT_EQ(refused.text, "Nothing was sent: 1 of 2 routes is blocked:\n"
                            "  MON B <- CAM 1: MON B was changed since: it shows CAM 5, taken by "
                            "somebody else\n"
                            "\"undo --rest\" sends what can go, and gives up the others.\n");
    EXPECT_EQ(refused.verdict, verdict::refused);
    EXPECT_EQ(says("undo --rest"), "Undoing 1 of 2 routes:\n"
                                   "  MON A: CAM 3 -> CAM 1\n"
                                   "  MON B <- CAM 1: MON B was changed since: it shows CAM 5, "
                                   "taken by somebody else\n"
                                   "What is not sent is given up.\n");
    carry_out(0, 0);
    EXPECT_EQ(says("redo"), "Redoing MON A: CAM 1 -> CAM 3.\n");
}

TEST_F(UndoCommands, UndoOfWhatTheRouterRefusedSaysHowToGoOn)
{
    ask("take 2 4");
    carry_out(1, 3);
    ask("take 1 3");
    desk::trace_take_answer(console.desk, now, "main", "");
    desk::trace_take(console.desk, now, "main", 0, 2);
    EXPECT_EQ(says("undo"), "Not sent: MON A <- CAM 1: the take of CAM 3 there is still under "
                            "way.\n");
    desk::trace_take_answer(console.desk, now, "main", "NAK 0005");
    const std::string why =
        "MON A <- CAM 1: the take of CAM 3 there was not confirmed: refused by the router (NAK "
        "0005).\n";
    EXPECT_EQ(says("dry-run undo"), "Would not be sent: " + why);
    EXPECT_EQ(says("undo"), "Not sent: " + why + "\"undo --rest\" gives it up.\n");
    EXPECT_EQ(says("undo --rest"), "Not sent: " + why + "What is not sent is given up.\n");
    happened();
    EXPECT_THAT(says("history undo"),
                testing::HasSubstr("MON A of main <- CAM 1: not sent: the take of CAM 3 "
                                   "there was not confirmed: refused by the router"));
    EXPECT_EQ(says("undo"), "Undoing MON B: CAM 4 -> CAM 1.\n");
}

TEST_F(UndoCommands, UndoWithRestSaysThatItGivesUpWhatOnlyHadToWait)
{
    ask("take 2 4");
    carry_out(1, 3);
    ask("take 1 3");
    EXPECT_THAT(says("undo --rest"),
                testing::EndsWith("under way.\nWhat is not sent is given up.\n"));
    link(desk::link_state::down, "gone");
    EXPECT_THAT(says("undo"), testing::EndsWith("the link to main is down: gone.\n"));
    EXPECT_THAT(says("undo --rest"), testing::EndsWith("What is not sent is given up.\n"));
    EXPECT_EQ(says("undo"), "There is nothing to undo.\n");
}

TEST_F(UndoCommands, UndoOfWhatWasContradictedSaysWhatTheRouterShows)
{
    ask("stage 1 3");
    ask("stage 2 3");
    ask("take");
    carry_out(0, 2);
    desk::trace_take(console.desk, now, "main", 1, 2);
    desk::trace_query(console.desk, "main", 1);
    desk::trace_route(console.desk, now, "main", 1, 4);
    report(1, 4);
    const std::string why =
        "the take of CAM 3 there was not confirmed at 14:02:11: the router shows CAM 5 "
        "instead: taken by somebody else\n";
    EXPECT_EQ(says("undo"), "Nothing was sent: 1 of 2 routes is blocked:\n"
                            "  MON B <- CAM 1: " +
                                why +
                                "\"undo --rest\" sends what can go, and gives up the others.\n");
    ask("undo --rest");
    happened();
    carry_out(0, 0);
    EXPECT_THAT(happened(), testing::EndsWith("  MON B <- CAM 1: not sent: " + why));
}

TEST_F(UndoCommands, UndoThatOnlyWaitsForTheLinkIsNotToBeGivenUp)
{
    ask("take 1 3");
    carry_out(0, 2);
    link(desk::link_state::down, "gone");
    EXPECT_EQ(says("undo"), "Not sent: MON A <- CAM 1: the link to main is down: gone.\n");
}

// The outcome is told when it is confirmed by then.
TEST_F(UndoCommands, UndoOfWhatWasConfirmedTooLateSaysWhatStoodInItsWay)
{
    for (const char* const line : {"stage 1 3", "stage 2 3", "take"})
        ask(line);
    carry_out(0, 2);
    desk::trace_take(console.desk, now, "main", 1, 2);
    wait_ms(3000);
    ask("undo --rest");
    report(1, 2);
    happened();
    carry_out(0, 0);
    EXPECT_THAT(happened(),
                testing::EndsWith("  MON B <- CAM 1: not sent: CAM 3 on MON B has not been "
                                  "confirmed: timed out\n"));
}

TEST_F(UndoCommands, RedoOfAnUndoThatWasNotConfirmedSaysWhy)
{
    ask("take 1 3");
    carry_out(0, 2);
    ask("undo");
    desk::trace_take(console.desk, now, "main", 0, 0);
    wait_ms(3000);
    EXPECT_THAT(says("redo"), testing::StartsWith("Not sent: MON A <- CAM 3: the take of CAM 1 "
                                                  "there was not confirmed: timed out"));
}
