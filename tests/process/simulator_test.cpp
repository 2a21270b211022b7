// The real program between a parent and the simulated router as a program of its own.
#include <gmock/gmock.h>

#include "support/info_record.h"
#include "support/process_test.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {
class Simulator : public ProcessTest {
  protected:
    void tell_simulator(const std::string& line)
    {
        write_all(simulator.input.number, line + "\n");
    }
};
} // namespace

TEST_F(Simulator, IsDiscovered)
{
    start_simulator({"--sources", "4", "--destinations", "3"});
    start_on_simulator(backend);
    EXPECT_EQ(hear_line("model=Simulated router"),
              info_record(4, 3, "Simulated router", "Router simulator 1.0 [r1]"));
    EXPECT_EQ(hear("inputs"), "*COMMAND=inputs\n*TYPE=message\n"
                              "i0.name=CAM 1\ni1.name=CAM 2\ni2.name=CAM 3\ni3.name=CAM 4\n\n");
    EXPECT_EQ(hear("outputs"), "*COMMAND=outputs\n*TYPE=message\n"
                               "o0.name=MON A\no1.name=MON B\no2.name=MON C\n\n");
}

TEST_F(Simulator, ReportsItsRoutes)
{
    start_simulator({"--sources", "2", "--destinations", "3"});
    start_on_simulator(backend);
    EXPECT_NE(hear_route("o0.input.all=0"), "");
    tell_simulator("take 3 2");
    EXPECT_NE(hear_route("o2.input.all=1"), "");
}

TEST_F(Simulator, ConfirmsTake)
{
    start_simulator();
    start_on_simulator(backend);
    ASSERT_NE(hear("inputs"), "");
    take(backend, 1, 3);
    EXPECT_THAT(hear_route("o1.input.all=3"), HasSubstr("*COMMAND=outputs\n*TYPE=message\n"));
    tell_simulator("routes");
    EXPECT_TRUE(simulator_prints("2 MON B <- 4 CAM 4"));
}

TEST_F(Simulator, KeepsLastOfSeveralTakesOfOneOutput)
{
    start_simulator();
    start_on_simulator(backend);
    ASSERT_NE(hear("inputs"), "");
    for (const char* input : {"3", "4", "5"})
        say(std::string("*COMMAND=route output\n*TYPE=command\nqueue=add\nto output=1\n") +
            "from input=" + input);
    say("*COMMAND=route output\n*TYPE=command\nqueue=flush");
    EXPECT_NE(hear_route("o1.input.all=5"), "");
}

TEST_F(Simulator, BasesAreHeeded)
{
    start_simulator({"--source-base", "17", "--destination-base", "0"});
    start_on_simulator(backend);
    ASSERT_NE(hear_route("o31.input.all=31"), "");
    take(backend, 0, 7);
    EXPECT_NE(hear_route("o0.input.all=7", [this] { take(backend, 0, 7); }), ""); // asks from 1
    tell_simulator("routes");
    EXPECT_TRUE(simulator_prints("0 MON A <- 24 CAM 8"));
}

TEST_F(Simulator, RenamesReachTheParent)
{
    start_simulator();
    start_on_simulator(backend);
    ASSERT_NE(hear_line("i2.name=CAM 3"), "");
    ASSERT_NE(hear_line("o2.name=MON C"), "");
    tell_simulator("rename source 3 Studio camera");
    EXPECT_NE(hear_line("i2.name=Studio camera"), "");
    tell_simulator("rename destination 3 Foyer");
    EXPECT_NE(hear_line("o2.name=Foyer"), "");
}

TEST_F(Simulator, TakeOfAnotherOperatorReachesTheParent)
{
    start_simulator();
    start_on_simulator(backend);
    ASSERT_NE(hear_route("o31.input.all=31"), "");
    const auto take_elsewhere = [this] {
        tell_simulator("take 5 21");
    };
    take_elsewhere();
    EXPECT_EQ(hear_route("o4.input.all=20", take_elsewhere),
              "*COMMAND=outputs\n*TYPE=message\no4.input.all=20\n\n");
}

TEST_F(Simulator, AnnouncedTakeReachesTheParent)
{
    start_simulator({"--announce"});
    start_on_simulator(backend);
    ASSERT_NE(hear_line("o2.name=MON C"), "");
    ASSERT_TRUE(logs("<DBG>Router finished returning levels, sources, destinations"));
    tell_simulator("take 1 21");
    EXPECT_NE(hear_route("o0.input.all=20"), "");
}

TEST_F(Simulator, TwoBackendsSeeEachOthersTakes)
{
    start_simulator();
    start_on_simulator(backend);
    start_on_simulator(second_backend);
    ASSERT_NE(hear(backend, "inputs"), "");
    ASSERT_NE(hear(second_backend, "inputs"), "");
    take(backend, 1, 20);
    EXPECT_NE(hear_route(backend, "o1.input.all=20"), "");
    EXPECT_NE(hear_route(second_backend, "o1.input.all=20"), "");
    take(second_backend, 2, 21);
    EXPECT_NE(hear_route(second_backend, "o2.input.all=21"), "");
    EXPECT_NE(hear_route(backend, "o2.input.all=21"), "");
}

TEST_F(Simulator, DroppedBackendComesBackAndDiscoversAgain)
{
    start_simulator();
    start_on_simulator(backend);
    ASSERT_NE(hear_route("o31.input.all=31"), "");
    tell_simulator("drop");
    ASSERT_TRUE(logs("<NOTE>Connection to router closed"));
    tell_simulator("take 1 10");
    tell_simulator("rename source 1 Newcomer");
    EXPECT_NE(hear_line("i0.name=Newcomer"), "");
    EXPECT_NE(hear_route("o0.input.all=9"), "");
}

TEST_F(Simulator, TakeWhileAwayIsSentAfterDiscovery)
{
    start_simulator();
    listen_for_client(router);
    start("outputs=32\ninputs=32\nport = " + simulator_port + "\n");
    ASSERT_NE(hear("info"), "");
    take(backend, 1, 3);
    say("*COMMAND=set\n*TYPE=message\nname=ip address\nvalue=127.0.0.1");
    EXPECT_NE(hear_route("o1.input.all=3"), "");
}

TEST_F(Simulator, OfFullSizeIsDiscoveredAndRouted)
{
    start_simulator({"--sources", "256", "--destinations", "256", "--sequence", "counting"});
    start_on_simulator(backend);
    EXPECT_THAT(hear_line("model=Simulated router"),
                AllOf(HasSubstr("\ninputs=256\n"), HasSubstr("\noutputs=256\n")));
    EXPECT_NE(hear_route("o255.input.all=255"), "");
    take(backend, 255, 17);
    EXPECT_NE(hear_route("o255.input.all=17"), "");
}

// More than the counts can show. The names of all indexes below 1024 are there.
TEST_F(Simulator, BeyondFullSizeIsDiscoveredAndRouted)
{
    start_simulator({"--sources", "1024", "--destinations", "1024", "--source-base", "0"});
    start_on_simulator(backend);
    EXPECT_THAT(hear_line("model=Simulated router"),
                AllOf(HasSubstr("\ninputs=256\n"), HasSubstr("\noutputs=256\n")));
    EXPECT_THAT(hear("inputs"), HasSubstr("\ni1023.name="));
    EXPECT_THAT(hear("outputs"),
                AllOf(HasSubstr("\no1022.name="), Not(HasSubstr("\no1023.name="))));
    EXPECT_NE(hear_route("o255.input.all=255"), "");
    take(backend, 255, 17);
    EXPECT_NE(hear_route("o255.input.all=17"), "");
}

TEST_F(Simulator, OutlivesTheBackend)
{
    start_simulator();
    start_on_simulator(backend);
    ASSERT_NE(hear("inputs"), "");
    end_input(backend);
    EXPECT_EQ(end(), "exited with status 0");
    EXPECT_EQ(last_line(), "<NOTE>Connection to router closed");
    start_on_simulator(backend);
    EXPECT_NE(hear_line("model=Simulated router"), "");
}
