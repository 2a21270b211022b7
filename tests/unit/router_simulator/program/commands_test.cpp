#include <gmock/gmock.h>

#include "router_simulator/program/commands.h"
#include "unit/router_simulator/served_simulator.h"

using namespace router_simulator;
using testing::ElementsAre;

namespace {
class SimulatorCommands : public ServedSimulator {
  protected:
    // What is printed about the commands and shown in answer to them.
    std::string run(const std::string& line)
    {
        printed.clear();
        const std::string shown = run_commands(simulated, line);
        std::string text;
        for (const std::string& each : printed)
            text += each + "\n";
        return text + shown;
    }

    SimulatorCommands()
    {
        server.router = make_router(
            {.sources = 4, .destinations = 3, .source_base = 1, .destination_base = 16});
    }
};
} // namespace

TEST_F(SimulatorCommands, TakeByIndex)
{
    EXPECT_EQ(run("take 17 4"), "17 MON B <- 4 CAM 4\n");
    EXPECT_THAT(server.router.routes, ElementsAre(0, 3, 2));
}

TEST_F(SimulatorCommands, TakeByName)
{
    EXPECT_EQ(run("  take \"MON A\"  \"CAM 2\" "), "16 MON A <- 2 CAM 2\n");
    EXPECT_THAT(server.router.routes, ElementsAre(1, 1, 2));
}

TEST_F(SimulatorCommands, NamesAreThoseOfEitherCase)
{
    EXPECT_EQ(run("take 'mon a' 'cam 2'"), "16 MON A <- 2 CAM 2\n");
    run("rename source 1 'cam 2'");
    EXPECT_EQ(run("take 'MON A' 'CAM 2'"), "16 MON A <- 2 CAM 2\n");
    EXPECT_EQ(run("take 'MON A' 'Cam 2'"),
              "More than one source is named \"Cam 2\", use the index.\n");
}

TEST_F(SimulatorCommands, NumberInQuotesIsAName)
{
    run("rename source 4 17");
    EXPECT_EQ(run("take 16 '17'"), "16 MON A <- 4 17\n");
    EXPECT_EQ(run("take 16 17"), "No source \"17\".\n");
}

TEST_F(SimulatorCommands, NoneDisconnects)
{
    EXPECT_EQ(run("take 17 none"), "17 MON B <- none\n");
    EXPECT_THAT(server.router.routes, ElementsAre(0, NO_SOURCE, 2));
    EXPECT_EQ(run("routes"), "16 MON A <- 1 CAM 1\n17 MON B <- none\n18 MON C <- 3 CAM 3\n");
    run("take 17 1");
    EXPECT_EQ(run("take 17 NONE"), "17 MON B <- none\n");
    EXPECT_EQ(run("take 17 'none'"), "No source \"none\".\n");
}

TEST_F(SimulatorCommands, SeveralStandInALine)
{
    EXPECT_EQ(run("take 16 4; take 17 'CAM 3' ;"), "16 MON A <- 4 CAM 4\n17 MON B <- 3 CAM 3\n");
    EXPECT_EQ(run("take 16 'CAM 1"), "A quote is not closed.\n");
}

TEST_F(SimulatorCommands, QuitEndsTheSimulatorAndTheLine)
{
    EXPECT_FALSE(simulated.quit);
    EXPECT_EQ(run("quit; take 16 4"), "");
    EXPECT_TRUE(simulated.quit);
    EXPECT_THAT(server.router.routes, ElementsAre(0, 1, 2));
}

TEST_F(SimulatorCommands, LockKeepsTheRouteOfADestination)
{
    EXPECT_EQ(run("lock 'MON B'"), "locked 17 MON B\n");
    EXPECT_THAT(server.router.locked, ElementsAre(1));
    EXPECT_EQ(run("routes"),
              "16 MON A <- 1 CAM 1\n17 MON B <- 2 CAM 2 (locked)\n18 MON C <- 3 CAM 3\n");
    EXPECT_EQ(run("unlock 17"), "unlocked 17 MON B\n");
    EXPECT_THAT(server.router.locked, ElementsAre());
    EXPECT_EQ(run("lock 3"), "No destination \"3\".\n");
    EXPECT_EQ(run("lock"), "Usage: lock DESTINATION\n");
    EXPECT_EQ(run("unlock 1 2"), "Usage: unlock DESTINATION\n");
}

TEST_F(SimulatorCommands, RefuseTakesOfACrosspoint)
{
    EXPECT_EQ(run("refuse 17 4 0a"), "refused: 17 MON B <- 4 CAM 4\n");
    EXPECT_EQ(server.router.refused.at({1, 3}), "0a");
    EXPECT_EQ(run("allow 17 'CAM 4'"), "allowed: 17 MON B <- 4 CAM 4\n");
    EXPECT_TRUE(server.router.refused.empty());
    EXPECT_EQ(run("refuse 17 4 0x"), "Usage: refuse DESTINATION SOURCE CODE\n");
    EXPECT_EQ(run("refuse 17 4 00a"), "Usage: refuse DESTINATION SOURCE CODE\n");
    EXPECT_EQ(run("refuse 17 4"), "Usage: refuse DESTINATION SOURCE CODE\n");
    EXPECT_EQ(run("allow 17 4 0a"), "Usage: allow DESTINATION SOURCE\n");
    EXPECT_EQ(run("refuse 17 9 0a"), "No source \"9\".\n");
}

TEST_F(SimulatorCommands, TakeOfAClientPrintsTheSameLine)
{
    const int end = connect_client();
    printed.clear();
    says(end, frame("N0TI\t10\t4"));
    EXPECT_THAT(printed, ElementsAre("16 MON A <- 4 CAM 4"));
}

TEST_F(SimulatorCommands, TakeIsAnnouncedAndChangesTheDestinationForAll)
{
    server.router.options.announce = true;
    const int end = connect_client();
    run("take 16 4");
    EXPECT_EQ(hears(end), frame("N0IQ\t0010\t0\tN\tN\t0004"));
    says(end, frame("N0QD"));
    EXPECT_EQ(hears(end), frame("N0DQ\tMON A\t1\t0004"));
}

TEST_F(SimulatorCommands, RefuseWhatIsNotThere)
{
    EXPECT_EQ(run("take 19 1"), "No destination \"19\".\n");
    EXPECT_EQ(run("take 15 1"), "No destination \"15\".\n");
    EXPECT_EQ(run("take 16 0"), "No source \"0\".\n");
    EXPECT_EQ(run("take 16 99999999999999999999999"), "No source \"99999999999999999999999\".\n");
    EXPECT_EQ(run("take mon 1"), "No destination \"mon\".\n");
    EXPECT_THAT(server.router.routes, ElementsAre(0, 1, 2));
}

TEST_F(SimulatorCommands, RefuseANameOfSeveral)
{
    run("rename source 1 CAM 2");
    EXPECT_EQ(run("take 16 \"CAM 2\""),
              "More than one source is named \"CAM 2\", use the index.\n");
}

TEST_F(SimulatorCommands, RenameRaisesTheFlags)
{
    const int end = connect_client();
    EXPECT_EQ(run("rename source 1 STUDIO 1"), "source 1 STUDIO 1\n");
    EXPECT_EQ(run("rename destination \"MON C\" \"WALL  C\""), "destination 18 WALL  C\n");
    EXPECT_EQ(server.router.sources.names[0], "STUDIO 1");
    EXPECT_EQ(server.router.destinations.names[2], "WALL  C");
    says(end, frame("N0BK\tF"));
    EXPECT_EQ(hears(end), frame("N0KB\tF\t14"));
}

TEST_F(SimulatorCommands, RenameToNothingLeavesAPortWithoutAName)
{
    EXPECT_EQ(run("rename source 1 \"\""), "source 1\n");
    EXPECT_EQ(run("rename destination 16 \"\""), "destination 16\n");
    EXPECT_EQ(run("take 16 1"), "16 <- 1\n");
    EXPECT_EQ(server.router.sources.names[0], "");
}

TEST_F(SimulatorCommands, RenameRefusesNamesThatDoNotFit)
{
    EXPECT_EQ(run("rename source 1 " + std::string(65, 'x')),
              "The name is longer than 64 bytes.\n");
    EXPECT_EQ(run("rename source 9 X"), "No source \"9\".\n");
    EXPECT_EQ(server.router.sources.names[0], "CAM 1");
}

TEST_F(SimulatorCommands, ShowRoutes)
{
    EXPECT_EQ(run("routes"), "16 MON A <- 1 CAM 1\n17 MON B <- 2 CAM 2\n18 MON C <- 3 CAM 3\n");
    server.router =
        make_router({.sources = 0, .destinations = 1, .source_base = 0, .destination_base = 0});
    EXPECT_EQ(run("routes"), "0 MON A <- none\n");
    server.router = make_router({.destinations = 0, .source_base = 0, .destination_base = 0});
    EXPECT_EQ(run("routes"), "There are no destinations.\n");
}

TEST_F(SimulatorCommands, ShowAndDropClients)
{
    EXPECT_EQ(run("clients"), "No client is connected.\n");
    EXPECT_EQ(run("drop"), "No client is connected.\n");
    connect_client();
    connect_client();
    EXPECT_EQ(run("clients"), "client 1 from test\nclient 2 from test\n");
    EXPECT_EQ(run("drop"), "client 1 dropped\nclient 2 dropped\n");
    EXPECT_EQ(run("clients"), "No client is connected.\n");
}

TEST_F(SimulatorCommands, ExplainThemselves)
{
    EXPECT_EQ(run("help"), COMMAND_HELP);
    EXPECT_EQ(run("take 1"), "Usage: take DESTINATION SOURCE|none\n");
    EXPECT_EQ(run("rename level 0 X"), "Usage: rename source|destination INDEX NAME\n");
    EXPECT_EQ(run("rename source 1"), "Usage: rename source|destination INDEX NAME\n");
    EXPECT_EQ(run("do"), "Usage: do NAME\n");
    EXPECT_EQ(run("on"), "Usage: on NAME\n");
    EXPECT_EQ(run("off a b"), "Usage: off NAME\n");
    EXPECT_EQ(run("end"), "Unknown command \"end\", try help.\n");
    EXPECT_EQ(run(""), "");
    EXPECT_EQ(run(" \t"), "");
}
