// The four termination signals in every phase of the real program's life: it closes the connection
// and ends with status 0.
#include <csignal>
#include <gmock/gmock.h>

#include "support/process_test.h"

using testing::Each;
using testing::Not;

namespace {
class Signals : public ProcessTest, public testing::WithParamInterface<int> {
  protected:
    void expect_end_with_connection()
    {
        send_signal(backend, GetParam());
        EXPECT_EQ(end(), "exited with status 0");
        EXPECT_EQ(last_line(), "<NOTE>Connection to router closed");
    }
};
} // namespace

static std::string signal_name(const testing::TestParamInfo<int>& signal_number)
{
    return std::string("SIG") + sigabbrev_np(signal_number.param);
}

INSTANTIATE_TEST_SUITE_P(Each, Signals, testing::Values(SIGTERM, SIGPIPE, SIGHUP, SIGINT),
                         signal_name);

TEST_P(Signals, WithoutRouter)
{
    start("");
    ASSERT_NE(hear("info"), "");
    send_signal(backend, GetParam());
    EXPECT_EQ(end(), "exited with status 0");
    EXPECT_EQ(last_line(), "");
}

// One connection fills the queue of the listener, which answers no other then.
TEST_P(Signals, WhileConnecting)
{
    listen_for_client(router, 0);
    router.listening = false; // nobody is accepted
    const owned_descriptor in_queue(connect_to(router));
    start(router_settings());
    ASSERT_TRUE(logs("<NOTE>Trying to connect to router..."));
    ASSERT_NE(hear("info"), "");
    expect_end_with_connection();
    EXPECT_THAT(backend.diagnostics, Each(Not("<NOTE>Connection sucessful.")));
}

TEST_P(Signals, DuringDiscovery)
{
    start_on_router(); // which says nothing
    ASSERT_TRUE(until([this] { return count_requests(router, "QN ID") >= 1; }));
    expect_end_with_connection();
    EXPECT_THAT(backend.diagnostics, Each(Not("<ERR>Timeout during query (d=0 s=0 l=0)")));
}

TEST_P(Signals, WhileConnected)
{
    start_connected();
    expect_end_with_connection();
}

// A request that is never answered ends first, after two seconds.
TEST_P(Signals, DuringStatusRequest)
{
    router.answers = healthy_answers();
    router.answers.erase("BK F");
    start_on_router();
    ASSERT_TRUE(until([this] { return count_requests(router, "BK F") >= 1; }));
    expect_end_with_connection();
}

TEST_P(Signals, DuringQueryOfOutputs)
{
    router.answers = healthy_answers();
    start_on_router("outputs=256\n");
    ASSERT_TRUE(until([this] { return count_requests(router, "QI 40 0") >= 1; }));
    expect_end_with_connection();
}

TEST_P(Signals, DuringBurstOfRouteChanges)
{
    router.answers = healthy_answers();
    start_on_router("outputs=256\n");
    ASSERT_TRUE(until([this] { return count_requests(router, "QD") >= 1; }));
    for (int output = 0; output < 256; ++output)
        say("*COMMAND=route output\n*TYPE=command\nqueue=add\nfrom input=0\nto output=" +
            std::to_string(output));
    say("*COMMAND=route output\n*TYPE=command\nqueue=flush");
    ASSERT_TRUE(until([this] { return count_requests(router, "TI 41 1") >= 1; }));
    expect_end_with_connection();
}
