#include <gmock/gmock.h>

#include "router_simulator/program/commands.h"
#include "unit/router_simulator/served_simulator.h"

using namespace router_simulator;
using testing::ElementsAre;

namespace {
class SimulatorCommands : public ServedSimulator {
  protected:
    std::string run(const std::string& line)
    {
        return run_command(server, line);
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
    EXPECT_EQ(run("drop"), "");
    EXPECT_EQ(run("clients"), "No client is connected.\n");
}

TEST_F(SimulatorCommands, ExplainThemselves)
{
    EXPECT_EQ(run("help"), COMMAND_HELP);
    EXPECT_EQ(run("take 1"), "Usage: take DESTINATION SOURCE\n");
    EXPECT_EQ(run("rename level 0 X"), "Usage: rename source|destination INDEX NAME\n");
    EXPECT_EQ(run("rename source 1"), "Usage: rename source|destination INDEX NAME\n");
    EXPECT_EQ(run("quit"), "Unknown command \"quit\", try help.\n");
    EXPECT_EQ(run(""), "");
    EXPECT_EQ(run(" \t"), "");
}
