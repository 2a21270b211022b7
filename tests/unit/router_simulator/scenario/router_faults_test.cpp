// The faults that change the router itself: takes, renames, locks and refusals.
#include <gmock/gmock.h>

#include "unit/router_simulator/scenario/scenario_simulator.h"

using namespace router_simulator;
using testing::MatchesRegex;

namespace {
class RouterFaults : public ScenarioSimulator {};
} // namespace

TEST_F(RouterFaults, TakeOfAnotherOperatorIsRoutedAndTold)
{
    const int end = client_of(R"("fault": "take", "destination": 2, "source": 3)");
    do_it();
    says(end, frame("N0QD"));
    EXPECT_EQ(hears(end), frame("N0DQ\tMON C\t1\t0003"));
    EXPECT_EQ(events(), "take destination=2 source=3 by=scenario\n");
}

TEST_F(RouterFaults, TakeWithoutPortsDrawsThem)
{
    begin(R"({"every": [1, 1], "fault": "take"})");
    std::set<std::string> lines;
    for (int i = 0; i < 200; ++i) {
        pass_ms(1000);
        lines.insert(events());
    }
    EXPECT_EQ(lines.size(), 12U) << "each of 3 destinations on each of 4 sources";
}

TEST_F(RouterFaults, RenameSetsTheFlagOfItsKind)
{
    const int end = client_of(R"("fault": "rename", "destination": 1, "to": "WALL")");
    do_it();
    says(end, frame("N0BK\tF"));
    EXPECT_EQ(hears(end), frame("N0KB\tF\t4"));
    EXPECT_EQ(server.router.destinations.names[1], "WALL");
    EXPECT_EQ(events(), "rename destination=1 name=\"WALL\"\n");
}

TEST_F(RouterFaults, RenameWithoutPortDrawsOne)
{
    begin(R"({"every": [1, 1], "fault": "rename"})");
    std::set<std::string> renamed;
    for (int i = 0; i < 200; ++i) {
        pass_ms(1000);
        const std::string line = events();
        EXPECT_THAT(line, MatchesRegex("rename [a-z]+=[0-3] name=\"NAME [0-9]+\"\n"));
        renamed.insert(line.substr(0, line.find(" name")));
    }
    EXPECT_EQ(renamed.size(), 7U);
}

TEST_F(RouterFaults, LockKeepsARouteUntilItEnds)
{
    begin(R"({"at": 1, "fault": "lock", "destination": 2},
             {"at": 2, "fault": "unlock", "destination": 2})");
    const int end = connect_client();
    pass_ms(1000);
    says(end, frame("N0TI\t2\t3"));
    EXPECT_EQ(server.router.routes.at(2), 2U);
    pass_ms(1000);
    says(end, frame("N0TI\t2\t3"));
    EXPECT_EQ(server.router.routes.at(2), 3U);
    EXPECT_EQ(events(), "connected client=1\n"
                        "lock destination=2 by=scenario\n"
                        "unlock destination=2 by=scenario\n"
                        "take client=1 destination=2 source=3 by=client\n");
}

TEST_F(RouterFaults, CrosspointIsRefusedUntilItIsAllowed)
{
    begin(R"({"at": 1, "fault": "refuse take", "destination": 2, "source": 3, "code": "0B"},
             {"at": 2, "fault": "allow take", "destination": 2, "source": 3})");
    const int end = connect_client();
    pass_ms(1000);
    says(end, frame("N0TI\t2\t3"));
    EXPECT_EQ(hears(end), frame("N0ER\t0B\tTI"));
    EXPECT_EQ(server.router.routes.at(2), 2U);
    pass_ms(1000);
    says(end, frame("N0TI\t2\t3"));
    EXPECT_EQ(hears(end), "");
    EXPECT_EQ(server.router.routes.at(2), 3U);
    EXPECT_EQ(events(), "connected client=1\n"
                        "refuse take destination=2 source=3 by=scenario\n"
                        "allow take destination=2 source=3 by=scenario\n"
                        "take client=1 destination=2 source=3 by=client\n");
}
