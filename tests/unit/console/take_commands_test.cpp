#include "server/desk/locks.h"
#include "unit/console/console_test.h"

using namespace console;

class TakeCommands : public ConsoleTest {
  protected:
    TakeCommands()
    {
        console.desk.orders.clear();
    }

    void lock_by_ben(int destination)
    {
        const desk::actor ben{"ben", "console", {desk::right::administer, {}, {}}};
        desk::set_lock(console.desk, now, ben, "main", destination, desk::lock_mode::lock, "on air",
                       {});
    }

    std::size_t orders()
    {
        return std::exchange(console.desk.orders, {}).size();
    }
};

TEST_F(TakeCommands, TakeSaysWhatGoesAndWaitsForItsEnd)
{
    const answer told = ask("take \"MON A\" \"CAM 3\"");
    EXPECT_EQ(told.text, "Taking MON A: CAM 1 -> CAM 3.\n");
    EXPECT_EQ(told.verdict, verdict::done);
    EXPECT_FALSE(told.batch.is_none());
    const nlohmann::json expected = {{"command", "take"},
                                     {"batch", desk::text_of(told.batch)},
                                     {"dryRun", false},
                                     {"rows",
                                      {{{"router", "main"},
                                        {"destination", {{"index", 0}, {"name", "MON A"}}},
                                        {"was", {{"index", 0}, {"name", "CAM 1"}}},
                                        {"source", {{"index", 2}, {"name", "CAM 3"}}},
                                        {"goes", true},
                                        {"unchanged", false}}}}};
    EXPECT_EQ(told.json, expected);
}

TEST_F(TakeCommands, TakeOfWhatIsShownAlreadySendsNothing)
{
    const answer told = ask("take 1 1");
    EXPECT_EQ(told.text, "MON A shows CAM 1 already.\n");
    EXPECT_EQ(told.verdict, verdict::done);
    EXPECT_TRUE(told.batch.is_none());
    EXPECT_EQ(orders(), 0U);
}

TEST_F(TakeCommands, TakeIsRefusedAtOnceWhileTheLinkIsDown)
{
    link(desk::link_state::down, "cannot connect to 10.0.0.5:12345: Connection refused");
    const answer told = ask("take 1 3");
    EXPECT_EQ(told.text, "Not sent: MON A <- CAM 3: the link to main is down: cannot connect to "
                         "10.0.0.5:12345: Connection refused.\n");
    EXPECT_EQ(told.verdict, verdict::not_ready);
    EXPECT_TRUE(told.batch.is_none());
    EXPECT_EQ(told.json["rows"][0]["reason"], "linkNotReady");
    EXPECT_EQ(orders(), 0U);
}

TEST_F(TakeCommands, TakeOfALockedDestinationIsRefused)
{
    lock_by_ben(0);
    const answer told = ask("take 1 3");
    EXPECT_EQ(told.text, "Not sent: MON A <- CAM 3: MON A is locked by ben (on air).\n");
    EXPECT_EQ(told.verdict, verdict::refused);
    EXPECT_EQ(says("dry-run 1 3"),
              "Would not be sent: MON A <- CAM 3: MON A is locked by ben (on air).\n");
    EXPECT_EQ(orders(), 0U);
}

TEST_F(TakeCommands, TakeNeedsBothOrNeither)
{
    EXPECT_EQ(ask("take 1").verdict, verdict::wrong_use);
    EXPECT_EQ(says("take 1"), "take needs a destination and a source, or neither: then it takes "
                              "what is staged.\n");
    EXPECT_EQ(says("take 1 99"), "There is no source 99: they are numbered 1 to 8.\n");
    EXPECT_EQ(says("take 99 1"), "There is no destination 99: they are numbered 1 to 8.\n");
}

TEST_F(TakeCommands, NamesNothingOfARouterThatHasNotBeenReadYet)
{
    desk::router_settings settings;
    settings.id = settings.name = "new";
    settings.address = "10.0.0.5";
    desk::set_router(console.desk, now, console.person, settings);
    link(desk::link_state::down, "Connection refused", "new");
    ask("use new");
    for (const char* line : {"take 'MON A' 'CAM 3'", "stage 'MON A' 'CAM 3'", "back 'MON A'",
                             "disconnect 'MON A'", "lock 'MON A'", "unlock 'MON A'"}) {
        const answer told = ask(line);
        EXPECT_EQ(told.text, "The sources and destinations of new are not known yet: its link is "
                             "down: Connection refused.\n")
            << line;
        EXPECT_EQ(told.verdict, verdict::not_ready) << line;
    }
}

TEST_F(TakeCommands, StageSendsNothingUntilItIsTaken)
{
    EXPECT_EQ(says("stage 1 3"), "Staged MON A: CAM 1 -> CAM 3.\n");
    EXPECT_EQ(says("stage 2 4"), "Staged MON B: CAM 1 -> CAM 4.\n");
    EXPECT_EQ(says("staged"), "Staged on main, 2 routes:\n"
                              "  MON A: CAM 1 -> CAM 3\n"
                              "  MON B: CAM 1 -> CAM 4\n");
    EXPECT_EQ(orders(), 0U);
    EXPECT_EQ(says("dry-run"), "Would take 2 routes:\n"
                               "  MON A: CAM 1 -> CAM 3\n"
                               "  MON B: CAM 1 -> CAM 4\n");
    EXPECT_EQ(orders(), 0U);
    EXPECT_EQ(says("take"), "Taking 2 routes:\n"
                            "  MON A: CAM 1 -> CAM 3\n"
                            "  MON B: CAM 1 -> CAM 4\n");
    ASSERT_EQ(console.desk.orders.size(), 1U) << "one batch";
    EXPECT_EQ(console.desk.orders[0].rows, (std::vector<std::pair<int, int>>{{0, 2}, {1, 3}}));
    EXPECT_EQ(says("staged"), "Nothing is staged on main.\n");
    EXPECT_EQ(says("take"), "Nothing is staged.\n");
    EXPECT_EQ(ask("take").verdict, verdict::refused);
}

TEST_F(TakeCommands, StagedGivesProgramsTheSameFacts)
{
    ask("stage 1 3");
    const nlohmann::json row = {{"router", "main"},
                                {"destination", {{"index", 0}, {"name", "MON A"}}},
                                {"was", {{"index", 0}, {"name", "CAM 1"}}},
                                {"source", {{"index", 2}, {"name", "CAM 3"}}},
                                {"shown", false}};
    nlohmann::json expected = {{"command", "staged"}, {"router", "main"}, {"rows", {row}}};
    EXPECT_EQ(ask("staged").json, expected);
    link(desk::link_state::down);
    EXPECT_EQ(says("stage 2 1"), "Staged MON B: CAM 1 -> CAM 1.\n") << "not known to be shown";
    lock_by_ben(1);
    EXPECT_EQ(ask("staged").json["rows"][1]["trouble"], "MON B is locked by ben (on air)");
}

TEST_F(TakeCommands, StagedSaysThatTheLinkIsDown)
{
    ask("stage 1 3");
    link(desk::link_state::down, "Connection refused");
    happened();
    now.steady += std::chrono::seconds(42); // and the wall clock stands still
    EXPECT_THAT(says("staged"), testing::HasSubstr("ink down 0:42: Connection refused.\n"
                                                   "Staged on main, 1 route:\n"));
}

TEST_F(TakeCommands, TakeOfOneRouteLeavesTheStageAlone)
{
    ask("stage 1 3");
    ask("take 2 4");
    EXPECT_EQ(console.desk.orders[0].rows, (std::vector<std::pair<int, int>>{{1, 3}}));
    EXPECT_EQ(says("staged"), "Staged on main, 1 route:\n  MON A: CAM 1 -> CAM 3\n");
}

TEST_F(TakeCommands, ChangedAndLockedRowsBlockTheStage)
{
    for (const char* line : {"stage 1 3", "stage 2 3", "stage 3 3"})
        ask(line);
    report(1, 4);
    lock_by_ben(2);
    EXPECT_EQ(says("staged"),
              "Staged on main, 3 routes:\n"
              "  MON A: CAM 1 -> CAM 3\n"
              "  MON B: CAM 1 -> CAM 3 (changed since: it shows CAM 5 by now, taken by somebody "
              "else; stage it again to keep it, or unstage it)\n"
              "  MON C: CAM 1 -> CAM 3 (MON C is locked by ben (on air))\n");
    const answer told = ask("take");
    EXPECT_EQ(told.text,
              "Nothing was sent: 2 of 3 routes are blocked:\n"
              "  MON B <- CAM 3: MON B shows CAM 5 by now, taken by somebody else; stage it again "
              "to keep it, or unstage it\n"
              "  MON C <- CAM 3: MON C is locked by ben (on air)\n"
              "With --rest, what can go goes.\n");
    EXPECT_EQ(told.verdict, verdict::refused);
    EXPECT_TRUE(told.batch.is_none());
    EXPECT_EQ(orders(), 0U);
    EXPECT_THAT(says("staged"), testing::StartsWith("Staged on main, 3 routes:\n"));
}

TEST_F(TakeCommands, StagedTellsWhateverWouldHoldTheRowBack)
{
    for (const char* line : {"stage 1 3", "stage 2 3", "stage 8 3"})
        ask(line);
    console.desk.live.at("main").facts[0].connection = 0;
    ask("take 2 4");
    desk::report_counts(console.desk, "main", 8, 4);
    EXPECT_EQ(says("staged"), "Staged on main, 3 routes:\n"
                              "  MON A: CAM 1 -> CAM 3 (what MON A shows is not known)\n"
                              "  MON B: CAM 1 -> CAM 3 (a take of CAM 4 by anna is under way)\n"
                              "  MON H: CAM 1 -> CAM 3 (main has no MON H)\n");
    EXPECT_EQ(ask("staged").json["rows"][2]["trouble"], "main has no MON H");
    EXPECT_EQ(says("stage 2 5"), "Staged MON B: CAM 1 -> CAM 5 (a take of CAM 4 by anna is "
                                 "under way).\n");
    EXPECT_EQ(says("dry-run"), "Nothing would be sent: 3 routes are blocked:\n"
                               "  MON A <- CAM 3: what MON A shows is not known\n"
                               "  MON B <- CAM 5: a take of CAM 4 by anna is under way\n"
                               "  MON H <- CAM 3: main has no MON H\n");
}

TEST_F(TakeCommands, ChangeIsToldBeforeATakeThatIsUnderWay)
{
    ask("stage 2 3");
    ask("take 2 4");
    report(1, 6);
    EXPECT_THAT(says("take"), testing::HasSubstr("MON B <- CAM 3: MON B shows CAM 7 by now, taken "
                                                 "by somebody else; stage it again"));
}

TEST_F(TakeCommands, StagedTellsOfAChangeAlsoWhileTheLinkIsDown)
{
    ask("stage 1 3");
    ask("stage 2 3");
    report(1, 4);
    link(desk::link_state::down, "gone");
    EXPECT_THAT(says("staged"),
                testing::EndsWith("  MON A: CAM 1 -> CAM 3\n"
                                  "  MON B: CAM 1 -> CAM 3 (changed since: it shows CAM 5 by now, "
                                  "taken by somebody else; stage it again to keep it, or unstage "
                                  "it)\n"));
}

TEST_F(TakeCommands, WithRestWhatCanGoGoes)
{
    for (const char* line : {"stage 1 3", "stage 2 1", "stage 3 3"})
        ask(line);
    lock_by_ben(2);
    const answer told = ask("take --rest");
    EXPECT_EQ(told.text, "Taking 1 of 3 routes:\n"
                         "  MON A: CAM 1 -> CAM 3\n"
                         "  MON B shows CAM 1 already\n"
                         "  MON C <- CAM 3: MON C is locked by ben (on air)\n");
    EXPECT_EQ(told.verdict, verdict::refused) << "of one";
    EXPECT_FALSE(told.batch.is_none());
    EXPECT_THAT(says("staged"), testing::StartsWith("Staged on main, 1 route:\n  MON C: "));
}

TEST_F(TakeCommands, StagedRoutesThatAreShownAlreadyNeedNoTake)
{
    EXPECT_EQ(says("stage 1 1"), "Staged MON A: CAM 1 -> CAM 1 (shown already).\n");
    ask("stage 2 1");
    const answer told = ask("take");
    EXPECT_EQ(told.text, "All 2 routes are shown already:\n"
                         "  MON A shows CAM 1 already\n"
                         "  MON B shows CAM 1 already\n");
    EXPECT_EQ(told.verdict, verdict::done);
    EXPECT_EQ(orders(), 0U);
}

TEST_F(TakeCommands, StagedAgainTheRowKeepsWhatIsShownNow)
{
    ask("stage 1 3");
    report(0, 4);
    EXPECT_EQ(says("stage 1 3"), "Staged MON A: CAM 5 -> CAM 3.\n");
    EXPECT_EQ(says("take"), "Taking MON A: CAM 5 -> CAM 3.\n");
}

TEST_F(TakeCommands, UnstageAndClearSendNothing)
{
    ask("stage 1 3");
    ask("stage 2 3");
    ask("stage 3 3");
    EXPECT_EQ(says("unstage 2"), "Unstaged MON B.\n");
    EXPECT_EQ(says("unstage 2"), "MON B is not staged.\n");
    EXPECT_EQ(ask("unstage 2").verdict, verdict::refused);
    EXPECT_EQ(says("clear"), "Unstaged 2 routes.\n");
    EXPECT_EQ(says("clear"), "Nothing is staged on main.\n");
    EXPECT_EQ(orders(), 0U);
}

TEST_F(TakeCommands, UnstageFindsWhatTheRouterHasNoMore)
{
    ask("stage 8 4");
    desk::report_counts(console.desk, "main", 8, 4);
    EXPECT_EQ(says("take"), "Not sent: MON H <- CAM 4: main has no MON H.\n");
    EXPECT_EQ(says("unstage 8"), "Unstaged MON H.\n");
    EXPECT_EQ(says("unstage 257"), "There is no destination 257: they are numbered 1 to 4.\n");
}

TEST_F(TakeCommands, EachRouterHasItsStage)
{
    ask("stage 1 3");
    ask("use back");
    EXPECT_EQ(says("take"), "Nothing is staged.\n");
    EXPECT_EQ(says("staged"), "Nothing is staged on back.\nStaged on main: 1 route.\n");
}

TEST_F(TakeCommands, BackRoutesWhatWasShownBefore)
{
    EXPECT_EQ(says("back 1"), "It is not known what MON A showed before.\n");
    EXPECT_EQ(ask("back 1").verdict, verdict::refused);
    console.before["main"][0] = 4;
    EXPECT_EQ(says("dry-run back 1"), "Would take MON A: CAM 1 -> CAM 5.\n");
    EXPECT_EQ(orders(), 0U);
    EXPECT_EQ(says("back 1"), "Taking MON A: CAM 1 -> CAM 5.\n");
    ASSERT_EQ(console.desk.orders.size(), 1U);
    EXPECT_EQ(console.desk.orders[0].rows, (std::vector<std::pair<int, int>>{{0, 4}}));
}

TEST_F(TakeCommands, BackKnowsNothingOfTheRouterAtAnotherAddress)
{
    report(0, 4);
    happened();
    ask("set port 7");
    EXPECT_THAT(happened(true), testing::Not(testing::HasSubstr("somebody else")));
    EXPECT_EQ(says("back 1"), "It is not known what MON A showed before.\n");
    desk::report_backend_ended(console.desk, now, "main");
    link(desk::link_state::down);
    link(desk::link_state::ready);
    report(0, 5);
    EXPECT_THAT(happened(true), testing::Not(testing::HasSubstr("somebody else")));
    EXPECT_EQ(says("back 1"), "It is not known what destination 1 showed before.\n");
}

TEST_F(TakeCommands, BackLeadsBackOnceItsSourceIsShown)
{
    report(0, 4);
    happened();
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(says("back 1"), "Taking MON A: CAM 5 -> CAM 1.\n") << "not shown yet";
    carry_out(0, 0);
    happened();
    EXPECT_EQ(says("dry-run back 1"), "Would take MON A: CAM 1 -> CAM 5.\n");
    EXPECT_THAT(says("help back"), testing::HasSubstr("Given again, when that one is shown, it"));
}

TEST_F(TakeCommands, DisconnectRoutesNothing)
{
    EXPECT_EQ(says("dry-run disconnect 1"), "Would take MON A: CAM 1 -> no source.\n");
    const answer told = ask("disconnect 1");
    EXPECT_EQ(told.text, "Taking MON A: CAM 1 -> no source.\n");
    EXPECT_EQ(told.json["rows"][0]["source"], nullptr);
    ASSERT_EQ(console.desk.orders.size(), 1U);
    EXPECT_EQ(console.desk.orders[0].rows,
              (std::vector<std::pair<int, int>>{{0, desk::NO_SOURCE}}));
}
