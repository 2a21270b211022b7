// Routers that misbehave, or are not there, as the real program meets them.
#include <gmock/gmock.h>
#include <sys/socket.h>

#include "support/frames.h"
#include "support/process_test.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {
class RouterFaults : public ProcessTest {
  protected:
    // The router's identity reaches the parent: it has been discovered.
    void expect_discovery()
    {
        EXPECT_THAT(hear_line("model=TX4"),
                    AllOf(HasSubstr("\nfirmware version=Suite 2 [r7]\n"), HasSubstr("\ninputs=4\n"),
                          HasSubstr("\noutputs=2\n")));
    }
};
} // namespace

TEST_F(RouterFaults, RefusingRouterIsTriedAgain)
{
    router.answers = healthy_answers();
    reserve_port(router);
    start(router_settings());
    ASSERT_TRUE(logs("<NOTE>Connection to router closed"));
    EXPECT_THAT(backend.diagnostics, ElementsAre("<NOTE>Trying to connect to router...",
                                                 "<ERR>Connection failed, Connection refused",
                                                 "<NOTE>Connection to router closed"));
    listen_for_client(router);
    ASSERT_TRUE(logs("<NOTE>Connection sucessful."));
    expect_discovery();
}

TEST_F(RouterFaults, WrongAddressIsRefusedUntilItIsSetRight)
{
    router.answers = healthy_answers();
    listen_for_client(router);
    start("ip address = router.local\nport = " + std::to_string(router.port) + "\n");
    ASSERT_TRUE(logs("<ERR>Cannot connect, cannot parse IP address"));
    say("*COMMAND=set\n*TYPE=message\nname=ip address\nvalue=127.0.0.1");
    expect_discovery();
}

TEST_F(RouterFaults, NoAddressMeansNoAttemptUntilOneIsSet)
{
    router.answers = healthy_answers();
    listen_for_client(router);
    start("port = " + std::to_string(router.port) + "\n");
    ASSERT_NE(hear("info"), "");
    EXPECT_THAT(backend.diagnostics, ElementsAre());
    say("*COMMAND=set\n*TYPE=message\nname=ip address\nvalue=127.0.0.1");
    ASSERT_TRUE(logs("<NOTE>Trying to connect to router..."));
    expect_discovery();
}

TEST_F(RouterFaults, NewAddressLeavesTheOldRouter)
{
    start_connected();
    say("*COMMAND=set\n*TYPE=message\nname=ip address\nvalue=");
    EXPECT_TRUE(logs("<NOTE>Connection to router closed"));
    EXPECT_TRUE(until([this] { return router.endings == 1; }));
}

TEST_F(RouterFaults, RouterThatClosesIsMetAgain)
{
    start_connected();
    expect_discovery();
    close_client(router);
    ASSERT_TRUE(logs("<NOTE>Connection suddenly dropped"));
    ASSERT_TRUE(logs("<NOTE>Connection to router closed"));
    expect_discovery();
    EXPECT_EQ(router.connections, 2);
}

// The half frame must not become the beginning of the next connection's first.
TEST_F(RouterFaults, ResetInsideFrameIsForgotten)
{
    start_connected();
    expect_discovery();
    send_bytes(router, "\x01N0IQ\t1\t0");
    ASSERT_TRUE(until([this] { return count_requests(router, "QD") >= 4; }));
    reset_client(router);
    ASSERT_TRUE(logs("<NOTE>Connection problem, Connection reset by peer"));
    expect_discovery();
    EXPECT_EQ(router.connections, 2);
}

// Whatever the router sends between its answers, only what is whole and right is used.
TEST_F(RouterFaults, GarbageBetweenFramesIsDropped)
{
    std::string garbage;
    for (int byte = 255; byte >= 0; --byte)
        garbage += static_cast<char>(byte);
    std::string spoilt = frame(body("IQ", {"2", "0", "N", "N", "1"}));
    spoilt[spoilt.size() - 2] ^= 1;
    router.answers = healthy_answers();
    router.answers["QD"] += spoilt + garbage +
                            "\x04\x06\x15"
                            "0005\x04" +
                            frame(body("IQ", {"1", "0", "N", "N", "2"}));
    start_on_router();
    std::string report; // the first may hold the answers to the discovery's own queries too
    do
        report = hear_line("o0.input.all=1");
    while (report.find("\no1.input.all=2\n") != std::string::npos);
    EXPECT_EQ(report, "*COMMAND=outputs\n*TYPE=message\no0.input.all=1\n\n");
    EXPECT_EQ(router.connections, 1);
    EXPECT_THAT(backend.diagnostics, Not(Contains("<NOTE>Connection to router closed")));
}

TEST_F(RouterFaults, ParentIsServedWhileRouterSaysNothing)
{
    start_on_router();
    ASSERT_TRUE(until([this] { return count_requests(router, "QN ID") >= 1; }));
    say("*COMMAND=dance\n*TYPE=command\n*ID=7");
    ASSERT_NE(hear_line("*ID=7"), ""); // before the router has answered anything
    for (const char* request : {"BK N", "BK R", "BK T", "QN L", "QN IS", "QN ID"})
        send_bytes(router, healthy_answers().at(request));
    expect_discovery();
}

TEST_F(RouterFaults, SilentRouterIsGivenUp)
{
    start_on_router();
    ASSERT_TRUE(logs("<ERR>Timeout during query (d=0 s=0 l=0)"));
    ASSERT_TRUE(logs("<ERR>Timeout receiving message"));
    ASSERT_TRUE(logs("<NOTE>Connection to router closed"));
    EXPECT_TRUE(until([this] { return router.connections == 2; }));
}

TEST_F(RouterFaults, RouterThatStopsAnsweringIsGivenUpAndMetAgain)
{
    start_connected();
    expect_discovery();
    router.answers.erase("BK F");
    ASSERT_TRUE(logs("<ERR>Timeout receiving message"));
    ASSERT_TRUE(logs("<NOTE>Connection to router closed"));
    expect_discovery();
    EXPECT_EQ(router.connections, 2);
}

// What the router sent last keeps the backend from seeing the end before it writes; a write to a
// connection that is gone may raise a signal, which would end the process.
TEST_F(RouterFaults, RouterThatGoesDuringBurstDoesNotEndTheProcess)
{
    router.answers = healthy_answers();
    start_on_router("outputs=256\n");
    ASSERT_TRUE(until([this] { return count_requests(router, "QD") >= 1; }));
    const int reports = 30; // the log of whose queries is more than the pipe to this test holds
    for (int id = 1; id <= reports; ++id)
        say("*COMMAND=report\n*TYPE=command\nwhat=outputs\n*ID=" + std::to_string(id));
    ASSERT_TRUE(until([this] { return count_requests(router, "QI 80 0") >= 2; }));
    send_bytes(router, std::string(16384, '\x06'));
    ASSERT_EQ(shutdown(router.client, SHUT_WR), 0);
    reset_client(router);
    ASSERT_TRUE(logs("<NOTE>Connection to router closed"));
    say("*COMMAND=dance\n*TYPE=command\n*ID=last");
    EXPECT_NE(hear_line("*ID=last"), "");
}
