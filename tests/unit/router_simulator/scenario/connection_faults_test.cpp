#include <gmock/gmock.h>

#include "router_simulator/program/commands.h"
#include "router_simulator/scenario/player.h"
#include "support/patience.h"
#include "unit/router_simulator/scenario/scenario_simulator.h"

using namespace router_simulator;
using testing::_;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace {
class ConnectionFaults : public ScenarioSimulator {};
} // namespace

TEST_F(ConnectionFaults, BeginningIsALineWithTheSeed)
{
    simulated.plan = scenario{.seed = 9, .steps = {}, .states = {}};
    advance_us(500);
    begin_scenario(simulated, *simulated.plan);
    advance_us(1'000'250);
    connect_client();
    EXPECT_THAT(printed, ElementsAre("@ 0.000000 start seed=9", "client 1 connected from test",
                                     "@ 1.000250 connected client=1"));
}

TEST_F(ConnectionFaults, NothingIsTheEventOfASimulatorWithoutScenario)
{
    const int end = connect_client();
    says(end, frame("N0TI\t1\t3"));
    EXPECT_EQ(events(), "");
    EXPECT_EQ(run_commands(simulated, "do it"), "There is no scenario.\n");
}

TEST_F(ConnectionFaults, EventsAreJsonBesideTheTextWhenAskedFor)
{
    server.json_events = true;
    const int end = connect_client();
    says(end, frame("N0TI\t1\t3"));
    EXPECT_THAT(printed,
                ElementsAre(_, EndsWith(R"("event":"connected","client":1})"), "1 MON B <- 3 CAM 4",
                            EndsWith(R"("event":"take","client":1,"destination":1,"source":3,)"
                                     R"("by":"client"})")));
}

TEST_F(ConnectionFaults, EventTellsWhetherTheFaultLasts)
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

TEST_F(ConnectionFaults, CommandNeedsTheNameOfAStep)
{
    begin(R"({"name": "it", "fault": "close"})");
    EXPECT_EQ(run_commands(simulated, "do that"), "No step is named \"that\".\n");
    EXPECT_EQ(run_commands(simulated, "on that"), "No step is named \"that\".\n");
    EXPECT_EQ(run_commands(simulated, "off it"), "");
    EXPECT_TRUE(simulated.plan->states[0].off);
    EXPECT_EQ(run_commands(simulated, "on it"), "");
    EXPECT_FALSE(simulated.plan->states[0].off);
    EXPECT_EQ(run_commands(simulated, "do"), "Usage: do NAME\n");
}

TEST_F(ConnectionFaults, GarbageIsSoManyRandomBytes)
{
    const int end = client_of(R"("fault": "garbage", "bytes": 1000)");
    do_it();
    const std::string heard = hears(end);
    EXPECT_EQ(heard.size(), 1000U);
    EXPECT_GT(std::set<char>(heard.begin(), heard.end()).size(), 200U);
    EXPECT_EQ(events(), "garbage client=1\n");
}

TEST_F(ConnectionFaults, SilentRouterReadsAndDoesNothing)
{
    const int end = client_of(R"("fault": "silence", "for": 2)");
    do_it();
    says(end, ask_revision + frame("N0TI\t1\t3"));
    run_commands(simulated, "take 2 2");
    EXPECT_EQ(hears(end), "");
    EXPECT_EQ(server.router.routes.at(1), 1U);
    pass_ms(1999);
    EXPECT_EQ(events(), "silence client=1\ntake destination=2 source=2 by=command\n");
    pass_ms(1);
    EXPECT_EQ(events(), "end of silence client=1\n");
    says(end, ask_revision);
    EXPECT_EQ(hears(end), revision);
}

TEST_F(ConnectionFaults, RequestOfASilentRouterUsesUpNoFault)
{
    begin(R"({"at": 1, "fault": "silence", "for": 2},
             {"request": "BK", "times": 1, "fault": "lose"},
             {"request": "BK", "times": 1, "fault": "take", "destination": 2, "source": 3})");
    const int end = connect_client();
    pass_ms(1000);
    says(end, ask_revision);
    pass_ms(2000);
    events();
    says(end, ask_revision);
    EXPECT_EQ(events(), "take destination=2 source=3 by=scenario\n"
                        "lose client=1 request=\"BK R\"\n");
}

TEST_F(ConnectionFaults, FaultThatSilencesLeavesItsOwnRequestUnanswered)
{
    begin(R"({"request": "BK", "fault": "silence", "for": 2},
             {"request": "BK", "fault": "lose"})");
    const int end = connect_client();
    events();
    says(end, ask_revision);
    EXPECT_EQ(events(), "silence client=1\n");
}

TEST_F(ConnectionFaults, HalfOpenConnectionIsNeitherReadNorClosed)
{
    const int end = client_of(R"("fault": "half-open")");
    do_it();
    says(end, ask_revision);
    pass_ms(100'000);
    EXPECT_EQ(hears(end), "");
    EXPECT_FALSE(has_ended(end));
    EXPECT_EQ(events(), "half-open client=1\n");
}

TEST_F(ConnectionFaults, HalfOpenConnectionKeepsWhatWasOnItsWay)
{
    begin(R"({"request": "BK R", "fault": "delay", "ms": [40, 40]},
             {"name": "it", "fault": "half-open"})");
    const int end = connect_client();
    says(end, ask_revision);
    do_it();
    pass_ms(40);
    EXPECT_EQ(hears(end), "");
}

TEST_F(ConnectionFaults, HalfOpenConnectionIsGivenUpWithItsClient)
{
    const int end = client_of(R"("fault": "half-open")");
    do_it();
    says(end, ask_revision);
    shutdown(end, SHUT_RDWR);
    serve(simulated, 0);
    EXPECT_EQ(events(), "half-open client=1\ngone client=1\n");
    EXPECT_TRUE(server.clients.empty());
}

TEST_F(ConnectionFaults, RequestsWaitWhileTheRouterDoesNotRead)
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

TEST_F(ConnectionFaults, RouterThatDoesNotReadGoesOnSending)
{
    const int end = client_of(R"("fault": "stop reading", "for": 2)");
    server.router.options.announce = true;
    do_it();
    run_commands(simulated, "take 1 3");
    EXPECT_EQ(hears(end), frame("N0IQ\t0001\t0\tN\tN\t0003"));
}

TEST_F(ConnectionFaults, CloseEndsTheStream)
{
    const int end = client_of(R"("fault": "close")");
    do_it();
    EXPECT_TRUE(has_ended(end));
    EXPECT_EQ(events(), "close client=1\ngone client=1\n");
}

TEST_F(ConnectionFaults, CloseIsNoResetThoughRequestsAreUnread)
{
    begin(R"({"name": "it", "fault": "close"})");
    listen_anywhere();
    const int end = connect_over_tcp();
    serve(simulated, 10'000);
    ASSERT_EQ(send(end, "unread", 6, 0), 6);
    pollfd arrived = {.fd = server.clients.at(1).descriptor, .events = POLLIN, .revents = 0};
    ASSERT_EQ(poll(&arrived, 1, PATIENCE_MS), 1);
    EXPECT_EQ(run_commands(simulated, "do it"), "");
    char byte = 0;
    EXPECT_EQ(recv(end, &byte, 1, 0), 0);
    int error = 0; // a reset behind the end of the stream shows here alone
    socklen_t size = sizeof error;
    ASSERT_EQ(getsockopt(end, SOL_SOCKET, SO_ERROR, &error, &size), 0);
    EXPECT_EQ(error, 0);
}

TEST_F(ConnectionFaults, RequestThatClosesIsNotAnswered)
{
    begin(R"({"request": "BK", "after": 1, "fault": "close"})");
    const int end = connect_client();
    const int other = connect_client();
    says(end, ask_revision + ask_revision + ask_revision);
    EXPECT_EQ(hears(end), revision);
    EXPECT_TRUE(has_ended(end));
    EXPECT_FALSE(has_ended(other));
}

TEST_F(ConnectionFaults, FaultBehindTheAnswerLetsItPass)
{
    begin(R"({"request": "BK", "answered": true, "fault": "close"})");
    const int end = connect_client();
    says(end, ask_revision);
    EXPECT_EQ(hears(end), revision);
    EXPECT_TRUE(has_ended(end));
}

TEST_F(ConnectionFaults, ConnectionFaultMeetsTheClientOfItsNumber)
{
    begin(R"({"connection": 2, "fault": "close"})");
    const int first = connect_client();
    const int second = connect_client();
    const int third = connect_client();
    EXPECT_FALSE(has_ended(first));
    EXPECT_TRUE(has_ended(second));
    EXPECT_FALSE(has_ended(third));
}

TEST_F(ConnectionFaults, TimedFaultMeetsAllClients)
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

TEST_F(ConnectionFaults, ResetIsTheEndOfATcpConnection)
{
    begin(R"({"name": "it", "fault": "reset", "inside": true})");
    listen_anywhere();
    const int end = connect_over_tcp();
    serve(simulated, 10'000);
    do_it();
    EXPECT_EQ(hears(end), "\x01N0IQ\t0");
    EXPECT_EQ(errno, ECONNRESET);
    EXPECT_THAT(events(), EndsWith("reset client=1\ngone client=1\n"));
}

TEST_F(ConnectionFaults, RefusedConnectionsComeToThePortAgainAfterwards)
{
    begin(R"({"name": "it", "fault": "refuse", "for": 2})");
    listen_anywhere();
    const std::string address = listening_address(server);
    const int standing = connect_over_tcp();
    serve(simulated, 10'000);
    events();
    do_it();
    EXPECT_TRUE(has_ended(standing));
    EXPECT_EQ(try_to_connect(), ECONNREFUSED);
    pass_ms(1999);
    EXPECT_EQ(try_to_connect(), ECONNREFUSED);
    pass_ms(1);
    EXPECT_EQ(listening_address(server), address);
    connect_over_tcp();
    serve(simulated, 10'000);
    EXPECT_EQ(events(), "refuse\ngone client=1\nend of refuse\nconnected client=2\n");
}

TEST_F(ConnectionFaults, IgnoredClientIsServedAfterwards)
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

TEST_F(ConnectionFaults, ClientThatComesMeanwhileIsIgnoredToo)
{
    begin(R"({"at": 1, "fault": "ignore", "for": 2})");
    pass_ms(1000);
    const int end = connect_client();
    says(end, ask_revision);
    EXPECT_EQ(hears(end), "");
    EXPECT_EQ(events(), "ignore\nconnected client=1\nignore client=1\n");
    pass_ms(2000);
    EXPECT_EQ(events(), "end of ignore\nend of ignore client=1\n");
    EXPECT_EQ(hears(end), revision);
}

TEST_F(ConnectionFaults, ListenerThatIgnoresIsToldBesideItsClients)
{
    client_of(R"("fault": "ignore", "for": 2)");
    do_it();
    EXPECT_EQ(events(), "ignore\nignore client=1\n");
    pass_ms(2000);
    EXPECT_EQ(events(), "end of ignore\nend of ignore client=1\n");
}

TEST_F(ConnectionFaults, BurstTellsRandomRoutesAtItsRate)
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

TEST_F(ConnectionFaults, LastOfSeveralBurstsTellsTheEnd)
{
    begin(R"({"name": "short", "fault": "burst", "messages": 2, "rate": 100},
             {"name": "long", "fault": "burst", "messages": 4, "rate": 100})");
    connect_client();
    connect_client();
    EXPECT_EQ(run_commands(simulated, "do short; do long; do short"), "");
    events();
    pass_ms(10);
    EXPECT_EQ(events(), "");
    pass_ms(10);
    EXPECT_EQ(events(), "");
    pass_ms(10);
    EXPECT_EQ(events(), "end of burst client=1\nend of burst client=2\n");
}

TEST_F(ConnectionFaults, BurstEndsWithItsClient)
{
    const int end = client_of(R"("fault": "burst", "messages": 40, "rate": 1)");
    do_it();
    shutdown(end, SHUT_RDWR);
    serve(simulated, 0); // sees the end
    serve(simulated, 0);
    EXPECT_TRUE(simulated.streams.empty());
}

TEST_F(ConnectionFaults, CommandsOfPeopleAreEvents)
{
    begin("");
    run_commands(simulated, "take 1 3");
    run_commands(simulated, "rename source 0 NEW");
    EXPECT_EQ(events(), "take destination=1 source=3 by=command\nrename source=0 name=\"NEW\"\n");
}

TEST_F(ConnectionFaults, WaitEndsWhenSomethingIsDue)
{
    begin(R"({"at": 0.01, "fault": "take"})");
    EXPECT_EQ(next_due(simulated), server.started + 10'000);
    serve(simulated, -1); // would not return
    advance_us(10'000);
    serve(simulated, 0);
    EXPECT_EQ(next_due(simulated), NEVER);
}

TEST_F(ConnectionFaults, SameSeedDoesTheSame)
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
    stop_server(simulated);
    server.router =
        make_router({.sources = 4, .destinations = 3, .source_base = 0, .destination_base = 0});
    server.last_client = 0;
    EXPECT_EQ(run(), once);
    EXPECT_GT(once.size(), 30U);
}
