#include <gmock/gmock.h>

#include "router_simulator/program/commands.h"
#include "router_simulator/scenario/connection_faults.h"
#include "unit/router_simulator/scenario/scenario_simulator.h"

using namespace router_simulator;
using testing::_;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {
class LinkFaults : public ScenarioSimulator {
  protected:
    // A client of a simulator that does this fault on the command "do it".
    int client_of(const std::string& fault)
    {
        begin(R"({"name": "it", )" + fault + "}");
        const int end = connect_client();
        printed.clear();
        return end;
    }

    void do_it()
    {
        EXPECT_EQ(run_command(server, "do it"), "");
        serve(server, 0);
    }
};
} // namespace

TEST_F(LinkFaults, BeginningIsALineWithTheSeed)
{
    server.plan = scenario{.seed = 9, .steps = {}, .states = {}};
    advance_us(500);
    begin_scenario(server, *server.plan);
    advance_us(1'000'250);
    connect_client();
    EXPECT_THAT(printed, ElementsAre("@ 0.000000 start seed=9", "client 1 connected from test",
                                     "@ 1.000250 connected client=1"));
}

TEST_F(LinkFaults, NothingIsTheEventOfASimulatorWithoutScenario)
{
    const int end = connect_client();
    says(end, frame("N0TI\t1\t3"));
    EXPECT_EQ(events(), "");
    EXPECT_EQ(run_command(server, "do it"), "There is no scenario.\n");
}

TEST_F(LinkFaults, EventsAreJsonBesideTheTextWhenAskedFor)
{
    server.json_events = true;
    const int end = connect_client();
    says(end, frame("N0TI\t1\t3"));
    EXPECT_THAT(printed,
                ElementsAre(_, EndsWith(R"("event":"connected","client":1})"),
                            EndsWith(R"("event":"take","client":1,"destination":1,"source":3,)"
                                     R"("by":"client"})")));
}

TEST_F(LinkFaults, EventTellsWhetherTheFaultLasts)
{
    server.json_events = true;
    client_of(R"("fault": "silence", "for": 2)");
    do_it();
    EXPECT_THAT(printed,
                ElementsAre(_, EndsWith(R"("fault":"silence","lasting":true,"client":1})")));
    printed.clear();
    pass_ms(2000);
    EXPECT_THAT(
        printed,
        ElementsAre(_, EndsWith(R"("event":"end of fault","fault":"silence","client":1})")));
    printed.clear();
    drop_clients(server);
    printed.clear();
    do_it();
    EXPECT_THAT(printed, ElementsAre(_, EndsWith(R"("event":"fault","fault":"silence"})")));
}

TEST_F(LinkFaults, CommandNeedsTheNameOfAStep)
{
    begin(R"({"name": "it", "fault": "close"})");
    EXPECT_EQ(run_command(server, "do that"), "No step is named \"that\".\n");
    EXPECT_EQ(run_command(server, "do"), "Usage: do NAME\n");
}

TEST_F(LinkFaults, GarbageIsSoManyRandomBytes)
{
    const int end = client_of(R"("fault": "garbage", "bytes": 1000)");
    do_it();
    const std::string heard = hears(end);
    EXPECT_EQ(heard.size(), 1000U);
    EXPECT_GT(std::set<char>(heard.begin(), heard.end()).size(), 200U);
    EXPECT_EQ(events(), "garbage client=1\n");
}

TEST_F(LinkFaults, SilentRouterReadsAndDoesNothing)
{
    const int end = client_of(R"("fault": "silence", "for": 2)");
    do_it();
    says(end, ask_revision + frame("N0TI\t1\t3"));
    run_command(server, "take 2 2");
    EXPECT_EQ(hears(end), "");
    EXPECT_EQ(server.router.routes.at(1), 1U);
    pass_ms(1999);
    EXPECT_EQ(events(), "silence client=1\ntake destination=2 source=2 by=command\n");
    pass_ms(1);
    EXPECT_EQ(events(), "end of silence client=1\n");
    says(end, ask_revision);
    EXPECT_EQ(hears(end), revision);
}

TEST_F(LinkFaults, HalfOpenConnectionIsNeitherReadNorClosed)
{
    const int end = client_of(R"("fault": "half-open")");
    do_it();
    says(end, ask_revision);
    pass_ms(100'000);
    EXPECT_EQ(hears(end), "");
    EXPECT_FALSE(has_ended(end));
    EXPECT_EQ(events(), "half-open client=1\n");
}

TEST_F(LinkFaults, HalfOpenConnectionIsGivenUpWithItsClient)
{
    const int end = client_of(R"("fault": "half-open")");
    do_it();
    says(end, ask_revision);
    shutdown(end, SHUT_RDWR);
    serve(server, 0);
    EXPECT_EQ(events(), "half-open client=1\ngone client=1\n");
    EXPECT_TRUE(server.links.empty());
}

TEST_F(LinkFaults, RequestsWaitWhileTheRouterDoesNotRead)
{
    const int end = client_of(R"("fault": "stop reading", "for": 2)");
    do_it();
    says(end, ask_revision);
    pass_ms(1999);
    EXPECT_EQ(hears(end), "");
    pass_ms(1);
    EXPECT_EQ(hears(end), revision);
    EXPECT_EQ(events(), "stop reading client=1\nend of stop reading client=1\n");
}

TEST_F(LinkFaults, RouterThatDoesNotReadGoesOnSending)
{
    const int end = client_of(R"("fault": "stop reading", "for": 2)");
    server.router.options.announce = true;
    do_it();
    run_command(server, "take 1 3");
    EXPECT_EQ(hears(end), frame("N0IQ\t0001\t0\tN\tN\t0003"));
}

TEST_F(LinkFaults, CloseEndsTheStream)
{
    const int end = client_of(R"("fault": "close")");
    do_it();
    EXPECT_TRUE(has_ended(end));
    EXPECT_EQ(events(), "close client=1\ngone client=1\n");
}

TEST_F(LinkFaults, RequestThatClosesIsNotAnswered)
{
    begin(R"({"request": "BK", "after": 1, "fault": "close"})");
    const int end = connect_client();
    const int other = connect_client();
    says(end, ask_revision + ask_revision + ask_revision);
    EXPECT_EQ(hears(end), revision);
    EXPECT_TRUE(has_ended(end));
    EXPECT_FALSE(has_ended(other));
}

TEST_F(LinkFaults, FaultBehindTheAnswerLetsItPass)
{
    begin(R"({"request": "BK", "answered": true, "fault": "close"})");
    const int end = connect_client();
    says(end, ask_revision);
    EXPECT_EQ(hears(end), revision);
    EXPECT_TRUE(has_ended(end));
}

TEST_F(LinkFaults, ConnectionFaultMeetsTheClientOfItsNumber)
{
    begin(R"({"connection": 2, "fault": "close"})");
    const int first = connect_client();
    const int second = connect_client();
    const int third = connect_client();
    EXPECT_FALSE(has_ended(first));
    EXPECT_TRUE(has_ended(second));
    EXPECT_FALSE(has_ended(third));
}

TEST_F(LinkFaults, TimedFaultMeetsAllClients)
{
    begin(R"({"at": 1.5, "fault": "close"})");
    const int first = connect_client();
    const int second = connect_client();
    pass_ms(1499);
    EXPECT_FALSE(has_ended(first));
    pass_ms(1);
    EXPECT_TRUE(has_ended(first));
    EXPECT_TRUE(has_ended(second));
}

TEST_F(LinkFaults, ResetIsTheEndOfATcpConnection)
{
    begin(R"({"name": "it", "fault": "reset", "inside": true})");
    listen_anywhere();
    const int end = connect_over_tcp();
    serve(server, 10'000);
    do_it();
    EXPECT_EQ(hears(end), "\x01N0IQ\t0");
    EXPECT_EQ(errno, ECONNRESET);
    EXPECT_THAT(events(), EndsWith("reset client=1\ngone client=1\n"));
}

TEST_F(LinkFaults, RefusedConnectionsComeToThePortAgainAfterwards)
{
    begin(R"({"name": "it", "fault": "refuse", "for": 2})");
    listen_anywhere();
    const std::string address = listening_address(server);
    const int standing = connect_over_tcp();
    serve(server, 10'000);
    events();
    do_it();
    EXPECT_TRUE(has_ended(standing));
    EXPECT_EQ(try_to_connect(), ECONNREFUSED);
    pass_ms(1999);
    EXPECT_EQ(try_to_connect(), ECONNREFUSED);
    pass_ms(1);
    EXPECT_EQ(listening_address(server), address);
    connect_over_tcp();
    serve(server, 10'000);
    EXPECT_EQ(events(), "refuse\ngone client=1\nend of refuse\nconnected client=2\n");
}

TEST_F(LinkFaults, IgnoredClientIsServedAfterwards)
{
    begin(R"({"connection": 1, "fault": "ignore", "for": 2})");
    const int ignored = connect_client();
    const int other = connect_client();
    says(ignored, ask_revision);
    says(other, ask_revision);
    EXPECT_EQ(hears(ignored), "");
    EXPECT_EQ(hears(other), revision);
    pass_ms(2000);
    EXPECT_EQ(hears(ignored), revision);
}

TEST_F(LinkFaults, ClientThatComesMeanwhileIsIgnoredToo)
{
    begin(R"({"at": 1, "fault": "ignore", "for": 2})");
    pass_ms(1000);
    const int end = connect_client();
    says(end, ask_revision);
    EXPECT_EQ(hears(end), "");
    EXPECT_EQ(events(), "ignore\nconnected client=1\n");
    pass_ms(2000);
    EXPECT_EQ(events(), "end of ignore\nend of ignore client=1\n");
    EXPECT_EQ(hears(end), revision);
}

TEST_F(LinkFaults, BurstTellsRandomRoutesAtItsRate)
{
    const int end = client_of(R"("fault": "burst", "messages": 40, "rate": 1000)");
    do_it();
    EXPECT_EQ(hears(end).size(), route.size());
    std::string heard;
    for (int i = 0; i < 39; ++i) {
        pass_ms(1);
        heard += hears(end);
    }
    EXPECT_EQ(heard.size(), 39 * route.size());
    for (const char* destination : {"0", "1", "2"})
        EXPECT_THAT(heard, HasSubstr(frame(std::string("N0IQ\t000") + destination +
                                           "\t0\tN\tN\t000" + destination)));
    EXPECT_EQ(events(), "burst client=1\nend of burst client=1\n");
}

TEST_F(LinkFaults, BurstEndsWithItsClient)
{
    const int end = client_of(R"("fault": "burst", "messages": 40, "rate": 1)");
    do_it();
    shutdown(end, SHUT_RDWR);
    serve(server, 0);
    EXPECT_TRUE(server.streams.empty());
}

TEST_F(LinkFaults, TakeOfAnotherOperatorIsRoutedAndTold)
{
    const int end = client_of(R"("fault": "take", "destination": 2, "source": 3)");
    do_it();
    says(end, frame("N0QD"));
    EXPECT_EQ(hears(end), frame("N0DQ\tMON C\t1\t0003"));
    EXPECT_EQ(events(), "take destination=2 source=3 by=scenario\n");
}

TEST_F(LinkFaults, TakeWithoutPortsDrawsThem)
{
    begin(R"({"every": [1, 1], "fault": "take"})");
    std::set<std::string> lines;
    for (int i = 0; i < 200; ++i) {
        pass_ms(1000);
        lines.insert(events());
    }
    EXPECT_EQ(lines.size(), 12U) << "each of 3 destinations on each of 4 sources";
}

TEST_F(LinkFaults, RenameSetsTheFlagOfItsKind)
{
    const int end = client_of(R"("fault": "rename", "destination": 1, "to": "WALL")");
    do_it();
    says(end, frame("N0BK\tF"));
    EXPECT_EQ(hears(end), frame("N0KB\tF\t4"));
    EXPECT_EQ(server.router.destinations.names[1], "WALL");
    EXPECT_EQ(events(), "rename destination=1 name=\"WALL\"\n");
}

TEST_F(LinkFaults, RenameWithoutPortDrawsOne)
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

TEST_F(LinkFaults, CommandsOfPeopleAreEvents)
{
    begin("");
    run_command(server, "take 1 3");
    run_command(server, "rename source 0 NEW");
    EXPECT_EQ(events(), "take destination=1 source=3 by=command\nrename source=0 name=\"NEW\"\n");
}

TEST_F(LinkFaults, WaitEndsWhenSomethingIsDue)
{
    begin(R"({"at": 0.01, "fault": "take"})");
    EXPECT_EQ(next_due_fault(server), server.started + 10'000);
    serve(server, -1); // would not return
    advance_us(10'000);
    serve(server, 0);
    EXPECT_EQ(next_due_fault(server), NEVER);
}

TEST_F(LinkFaults, SameSeedDoesTheSame)
{
    const auto run = [this] {
        begin(R"({"every": [0.5, 2], "fault": "take"}, {"every": [1, 5], "fault": "rename"},
                 {"request": "QI", "chance": 0.5, "fault": "contradict"})");
        const int end = connect_client();
        for (int i = 0; i < 60; ++i) {
            pass_ms(300);
            says(end, ask_route);
        }
        return printed;
    };
    const std::vector<std::string> once = run();
    stop_server(server);
    server.router =
        make_router({.sources = 4, .destinations = 3, .source_base = 0, .destination_base = 0});
    server.last_client = 0;
    EXPECT_EQ(run(), once);
    EXPECT_GT(once.size(), 30U);
}
