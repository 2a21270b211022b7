#include <gmock/gmock.h>
#include <netinet/tcp.h>
#include <rapidcheck/gtest.h>

#include "router_simulator/program/server.h"
#include "support/forced_results.h"
#include "unit/router_simulator/served_simulator.h"

using namespace router_simulator;
using testing::ElementsAre;
using testing::StartsWith;

namespace {
class SimulatorServer : public ServedSimulator {
  protected:
    // What comes next on a TCP connection, once the server has had its step.
    std::string awaits(int end)
    {
        serve(simulated, 10'000);
        char buffer[4096];
        const ssize_t count = recv(end, buffer, sizeof buffer, 0);
        return {buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    }
};

constexpr std::string_view QUERY_REVISION = "\x01N0BK\tR9A\x04";
const std::string REVISION = frame("N0KB\tR\tr1");
} // namespace

TEST_F(SimulatorServer, ListensOnTheFreePortThatItNames)
{
    listen_anywhere();
    EXPECT_THAT(listening_address(server), StartsWith("127.0.0.1:"));
    EXPECT_NE(listening_address(server), "127.0.0.1:0");
}

TEST_F(SimulatorServer, AnswersOverTcp)
{
    listen_anywhere();
    const int end = connect_over_tcp();
    serve(simulated, 10'000);
    ASSERT_EQ(send(end, QUERY_REVISION.data(), QUERY_REVISION.size(), 0),
              static_cast<ssize_t>(QUERY_REVISION.size()));
    EXPECT_EQ(awaits(end), REVISION);
}

TEST_F(SimulatorServer, SaysWhyItCannotListen)
{
    std::string error;
    EXPECT_FALSE(start_listening(server, "router", 0, error));
    EXPECT_EQ(error, "Cannot listen on router:0: not an IPv4 address");
    force_result(SystemCall::Socket, ANY_DESCRIPTOR, -1, EMFILE);
    EXPECT_FALSE(start_listening(server, "127.0.0.1", 0, error));
    EXPECT_EQ(error, "Cannot listen on 127.0.0.1:0: Too many open files");
    listen_anywhere();
    const std::string address = listening_address(server);
    const auto port = static_cast<std::uint16_t>(std::stoi(address.substr(address.find(':') + 1)));
    simulator_server second{.router = {}, .print = {}};
    EXPECT_FALSE(start_listening(second, "127.0.0.1", port, error));
    EXPECT_EQ(error, "Cannot listen on " + address + ": Address already in use");
}

TEST_F(SimulatorServer, ListensOnOneDescriptor)
{
    const auto lowest_free = [] {
        const int descriptor = dup(STDIN_FILENO);
        close(descriptor);
        return descriptor;
    };
    const int before = lowest_free();
    listen_anywhere();
    EXPECT_EQ(lowest_free(), before) << "its own lies above";
    stop_server(simulated);
    EXPECT_EQ(lowest_free(), before);
}

TEST_F(SimulatorServer, HasLittleRoomForUnreadBytesOnRequest)
{
    const auto option = [this](int level, int name) {
        int value = 0;
        socklen_t size = sizeof value;
        getsockopt(server.listener, level, name, &value, &size);
        return value;
    };
    server.receive_buffer = 1;
    listen_anywhere();
    EXPECT_LT(option(SOL_SOCKET, SO_RCVBUF), 10'000) << "the least there is";
    EXPECT_EQ(option(IPPROTO_TCP, TCP_MAXSEG), 88);
}

TEST_F(SimulatorServer, SaysWhoComesAndGoes)
{
    const int end = connect_client();
    shutdown(end, SHUT_RDWR);
    serve(simulated, 0);
    EXPECT_THAT(printed,
                ElementsAre("client 1 connected from test", "client 1 closed its connection"));
    EXPECT_TRUE(server.router.clients.empty());
}

TEST_F(SimulatorServer, SaysWhoIsLost)
{
    listen_anywhere();
    const int end = connect_over_tcp();
    serve(simulated, 10'000);
    const linger at_once = {.l_onoff = 1, .l_linger = 0};
    setsockopt(end, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    close(end);
    ends.pop_back();
    serve(simulated, 10'000);
    EXPECT_EQ(printed.back(), "client 1 lost: Connection reset by peer");
    EXPECT_TRUE(server.clients.empty());
}

TEST_F(SimulatorServer, AnswersARequestThatComesByteByByte)
{
    const int end = connect_client();
    for (const char byte : QUERY_REVISION) {
        EXPECT_EQ(hears(end), "");
        says(end, {&byte, 1});
    }
    EXPECT_EQ(hears(end), REVISION);
}

TEST_F(SimulatorServer, KeepsTheRequestsOfClientsApart)
{
    const int first = connect_client();
    const int second = connect_client();
    says(first, QUERY_REVISION.substr(0, 5));
    says(second, QUERY_REVISION);
    says(first, QUERY_REVISION.substr(5));
    EXPECT_EQ(hears(first), REVISION);
    EXPECT_EQ(hears(second), REVISION);
}

TEST_F(SimulatorServer, TellsEveryClientOfATakeWhenItAnnounces)
{
    server.router.options.announce = true;
    const int first = connect_client();
    const int second = connect_client();
    says(first, frame("N0TI\t1\t3"));
    EXPECT_EQ(hears(first), frame("N0IQ\t0001\t0\tN\tN\t0003"));
    EXPECT_EQ(hears(second), frame("N0IQ\t0001\t0\tN\tN\t0003"));
}

TEST_F(SimulatorServer, RejectsABadChecksum)
{
    const int end = connect_client();
    says(end, "\x01N0QDEE\x04");
    EXPECT_EQ(hears(end), "\x15"
                          "0001\x04");
}

TEST_F(SimulatorServer, TracesEveryFrameWithItsTime)
{
    server.trace = true;
    reset_fake_clock();
    server.started = now_us();
    const int end = connect_client();
    advance_us(1'000'250);
    says(end, QUERY_REVISION);
    says(end, "\x01N0QDEE\x04");
    EXPECT_THAT(printed,
                ElementsAre("client 1 connected from test", "   1.000250 client 1 > BK \"R\"",
                            "   1.000250 client 1 < KB \"R\" \"r1\"",
                            "   1.000250 client 1 > bad frame, bad checksum: \"N0QDEE\"",
                            "   1.000250 client 1 < NAK 1"));
}

TEST_F(SimulatorServer, DropsAClientThatDoesNotReadAndServesTheOthers)
{
    server.router = make_router({.sources = 1024, .source_base = 0, .destination_base = 0});
    const int not_reading = connect_client();
    const int other = connect_client();
    std::string queries;
    for (int i = 0; i < 300; ++i)
        queries += frame("N0QN\tIS");
    says(not_reading, queries);
    for (int i = 0; i < 10 && server.clients.contains(1); ++i)
        serve(simulated, 0);
    EXPECT_EQ(printed.back(), "client 1 dropped: it does not read what it is sent");
    says(other, QUERY_REVISION);
    EXPECT_EQ(hears(other), REVISION);
}

TEST_F(SimulatorServer, SendsTheRestOnceTheClientReads)
{
    server.router = make_router(
        {.sources = 1024, .source_base = 0, .destination_base = 0, .entries_per_answer = 1024});
    const int end = connect_client();
    std::string queries;
    for (int i = 0; i < 30; ++i)
        queries += frame("N0QN\tIS");
    says(end, queries);
    EXPECT_FALSE(server.clients.at(1).output.ready.empty());
    std::string heard;
    while (!server.clients.at(1).output.ready.empty()) {
        heard += hears(end);
        serve(simulated, 0);
    }
    heard += hears(end);
    says(end, frame("N0QN\tIS"));
    const std::string one = hears(end);
    std::string thirty;
    for (int i = 0; i < 30; ++i)
        thirty += one;
    EXPECT_TRUE(heard == thirty) << heard.size() << " bytes in place of " << thirty.size();
}

TEST_F(SimulatorServer, PassesOverTheListenerWhileThereIsNoDescriptor)
{
    listen_anywhere();
    const int first = connect_client();
    connect_over_tcp();
    server.accepting = false;
    serve(simulated, 0);
    EXPECT_EQ(server.clients.size(), 1U);
    shutdown(first, SHUT_RDWR);
    serve(simulated, 0);
    serve(simulated, 10'000);
    EXPECT_EQ(printed.back(), "client 2 connected from " + server.clients.at(2).peer);
}

TEST_F(SimulatorServer, ReportsTheOtherDescriptorsItWaitsFor)
{
    int pipe_ends[2];
    ASSERT_EQ(pipe(pipe_ends), 0);
    ends.insert(ends.end(), {pipe_ends[0], pipe_ends[1]});
    pollfd watched[] = {{.fd = pipe_ends[0], .events = POLLIN, .revents = 0}};
    serve(simulated, 0, watched);
    EXPECT_EQ(watched[0].revents, 0);
    ASSERT_EQ(write(pipe_ends[1], "x", 1), 1);
    serve(simulated, -1, watched);
    EXPECT_EQ(watched[0].revents, POLLIN);
}

TEST_F(SimulatorServer, DropsAllClientsWhenTold)
{
    const int end = connect_client();
    connect_client();
    drop_clients(server);
    char byte = 0;
    EXPECT_EQ(recv(end, &byte, 1, MSG_DONTWAIT), 0);
    EXPECT_EQ(printed.back(), "client 2 dropped");
    EXPECT_TRUE(server.clients.empty());
}

TEST_F(SimulatorServer, SurvivesAnyBytes)
{
    EXPECT_TRUE(rc::check([this] {
        const int end = connect_client();
        says(end, *rc::gen::container<std::string>(rc::gen::oneOf(
                      rc::gen::elementOf(std::string("\x01\x04\x06\x09\x15\0NBKTIQ0", 13)),
                      rc::gen::arbitrary<char>())));
        says(end, std::string("\x04").append(QUERY_REVISION));
        const std::string heard = hears(end);
        RC_ASSERT(heard.ends_with(REVISION));
    }));
}
