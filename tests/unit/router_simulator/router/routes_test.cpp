// Takes, routing queries and changed destinations.

#include <gmock/gmock.h>

#include "unit/router_simulator/router/asking.h"

using namespace router_simulator;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class SimulatorRoutes : public testing::Test {
  protected:
    Texts asked(const char* mnemonic, const std::vector<std::string>& parameters = {})
    {
        return ask(router, 1, mnemonic, parameters);
    }

    simulated_router router = router_with_two_clients(
        {.sources = 32, .destinations = 32, .levels = 2, .source_base = 1, .destination_base = 16});
};
} // namespace

TEST_F(SimulatorRoutes, StartOneToOne)
{
    EXPECT_THAT(asked("QI", {"10", "0"}), ElementsAre("1:0IQ|0010|0|N|N|0001"));
    EXPECT_THAT(asked("QI", {"2F", "0"}), ElementsAre("1:0IQ|002F|0|N|N|0020"));
}

TEST_F(SimulatorRoutes, StartOverWhereThereAreFewerSources)
{
    router = router_with_two_clients(
        {.sources = 2, .destinations = 3, .source_base = 0, .destination_base = 0});
    EXPECT_THAT(asked("QI", {"2", "0"}), ElementsAre("1:0IQ|0002|0|N|N|0000"));
}

TEST_F(SimulatorRoutes, ShowTheSourceBaseWithoutSources)
{
    router = router_with_two_clients({.sources = 0, .source_base = 5, .destination_base = 0});
    EXPECT_THAT(asked("QI", {"0", "0"}), ElementsAre("1:0IQ|0000|0|N|N|0005"));
}

TEST_F(SimulatorRoutes, FollowATakeForEveryClient)
{
    asked("TI", {"12", "6"});
    EXPECT_THAT(asked("QI", {"12", "0"}), ElementsAre("1:0IQ|0012|0|N|N|0006"));
    EXPECT_THAT(ask(router, 2, "QI", {"12", "0"}), ElementsAre("2:0IQ|0012|0|N|N|0006"));
}

TEST_F(SimulatorRoutes, EndWithTheIndexBeforeTheFirstSource)
{
    asked("TI", {"12", "0"});
    EXPECT_THAT(asked("QI", {"12", "0"}), ElementsAre("1:0IQ|0012|0|N|N|0000"));
    EXPECT_EQ(router.routes[2], NO_SOURCE);
}

TEST_F(SimulatorRoutes, AcceptIndexesOfAnyLengthAndCase)
{
    asked("TI", {"0000000000000001f", "a"});
    EXPECT_THAT(asked("QI", {"1F"}), ElementsAre("1:0IQ|001F|0|N|N|000A"));
    asked("TI", {"1F", "0B"});
    EXPECT_THAT(asked("QI", {"01f", "001"}), ElementsAre("1:0IQ|001F|1|N|N|000B"));
}

TEST_F(SimulatorRoutes, RefuseWhatIsNotThere)
{
    EXPECT_THAT(asked("TI", {"F", "1"}), ElementsAre("1:0ER|03|TI"));
    EXPECT_THAT(asked("TI", {"30", "1"}), ElementsAre("1:0ER|03|TI"));
    EXPECT_THAT(asked("TI", {"10", "21"}), ElementsAre("1:0ER|04|TI"));
    EXPECT_THAT(asked("TI", {"10", "FFFFFFFF"}), ElementsAre("1:0ER|04|TI"));
    EXPECT_THAT(asked("QI", {"F", "0"}), ElementsAre("1:0ER|03|QI"));
    EXPECT_THAT(asked("QI", {"10", "2"}), ElementsAre("1:0ER|05|QI"));
    EXPECT_THAT(asked("QD"), ElementsAre("1:0ER|00|QD"));
}

TEST_F(SimulatorRoutes, RefuseWhatIsNoIndex)
{
    for (const std::vector<std::string>& parameters :
         std::vector<std::vector<std::string>>{{},
                                               {"10"},
                                               {"10", ""},
                                               {"", "1"},
                                               {"1O", "1"},
                                               {"0x10", "1"},
                                               {"10", "-1"},
                                               {"10", "1", "1"},
                                               {"100000010", "1"}})
        EXPECT_THAT(asked("TI", parameters), ElementsAre("1:0ER|02|TI"));
    EXPECT_THAT(asked("QI"), ElementsAre("1:0ER|02|QI"));
    EXPECT_THAT(asked("QI", {"10", "0", "0"}), ElementsAre("1:0ER|02|QI"));
}

TEST_F(SimulatorRoutes, HaveOneLevelWhereNoneIsNamed)
{
    router.levels.clear();
    EXPECT_THAT(asked("QI", {"10", "0"}), ElementsAre("1:0IQ|0010|0|N|N|0001"));
    EXPECT_THAT(asked("QI", {"10", "1"}), ElementsAre("1:0ER|05|QI"));
}

TEST_F(SimulatorRoutes, ShowAsChangedToEveryClientOnce)
{
    ask(router, 2, "TI", {"11", "3"});
    ask(router, 2, "TI", {"10", "2"});
    EXPECT_THAT(asked("QD"), ElementsAre("1:1DQ|MON A|3|0002", "1:0DQ|MON B|3|0003"));
    EXPECT_THAT(asked("QD"), ElementsAre("1:0ER|00|QD"));
    EXPECT_THAT(ask(router, 2, "QD"), ElementsAre("2:1DQ|MON A|3|0002", "2:0DQ|MON B|3|0003"));
}

TEST_F(SimulatorRoutes, ShowOnceHoweverOftenTheyChanged)
{
    asked("TI", {"10", "3"});
    asked("TI", {"10", "4"});
    EXPECT_THAT(asked("QD"), ElementsAre("1:0DQ|MON A|3|0004"));
}

TEST_F(SimulatorRoutes, AreForgottenAsChangedByTheClientThatSaysSo)
{
    asked("TI", {"10", "3"});
    asked("BK", {"D"});
    EXPECT_THAT(asked("QD"), ElementsAre("1:0ER|00|QD"));
    EXPECT_THAT(ask(router, 2, "QD"), ElementsAre("2:0DQ|MON A|3|0003"));
}

TEST_F(SimulatorRoutes, GiveTheMaskOfAllThirtyTwoLevels)
{
    router.levels.resize(32);
    asked("TI", {"10", "3"});
    EXPECT_THAT(asked("QD"), ElementsAre("1:0DQ|MON A|FFFFFFFF|0003"));
    router.levels.clear();
    asked("TI", {"10", "3"});
    EXPECT_THAT(asked("QD"), ElementsAre("1:0DQ|MON A|1|0003"));
}

TEST_F(SimulatorRoutes, AreAnnouncedToEveryClientBehindTheConfirmation)
{
    router.options.announce = true;
    asked("BK", {"E", "ON"});
    EXPECT_THAT(asked("TI", {"10", "3"}),
                ElementsAre("1:0ER|00|TI", "1:0IQ|0010|0|N|N|0003", "2:0IQ|0010|0|N|N|0003"));
    EXPECT_THAT(asked("TI", {"10", "21"}), ElementsAre("1:0ER|04|TI"));
}

TEST_F(SimulatorRoutes, StayWhereADestinationIsLocked)
{
    asked("BK", {"E", "ON"});
    router.locked = {1};
    EXPECT_THAT(asked("TI", {"11", "5"}), ElementsAre("1:0ER|00|TI"));
    EXPECT_THAT(asked("QI", {"11"}), ElementsAre("1:0IQ|0011|0|N|N|0002"));
    EXPECT_THAT(asked("QD"), ElementsAre("1:0ER|00|QD"));
    EXPECT_THAT(asked("TI", {"10", "5"}), ElementsAre("1:0ER|00|TI"));
    EXPECT_THAT(asked("QI", {"10"}), ElementsAre("1:0IQ|0010|0|N|N|0005"));
}

TEST_F(SimulatorRoutes, AreRefusedByCrosspoint)
{
    router.refused[{1, 4}] = "0A";
    EXPECT_THAT(asked("TI", {"11", "5"}), ElementsAre("1:0ER|0A|TI"));
    EXPECT_THAT(asked("QI", {"11"}), ElementsAre("1:0IQ|0011|0|N|N|0002"));
    EXPECT_THAT(asked("TI", {"11", "6"}), IsEmpty());
    EXPECT_THAT(asked("TI", {"10", "5"}), IsEmpty());
    EXPECT_THAT(asked("QI", {"10"}), ElementsAre("1:0IQ|0010|0|N|N|0005"));
}

TEST_F(SimulatorRoutes, ShowTheIndexBeforeTheFirstWhenDisconnected)
{
    take_route(router, 1, NO_SOURCE);
    EXPECT_THAT(asked("QI", {"11"}), ElementsAre("1:0IQ|0011|0|N|N|0000"));
    EXPECT_THAT(asked("QD"), ElementsAre("1:0DQ|MON B|3|0000"));
    EXPECT_EQ(route_text(router, 1), "17 MON B <- none");
}
