#include "common/loop_flags.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_model/route_queue.h"
#include "support/backend_test.h"

namespace {
class RouteQueue : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        install_commands();
        number_of_inputs = 32;
        number_of_outputs = 32;
    }

    // Input i to output i, for the first n.
    static void make_pending(std::int32_t n)
    {
        for (std::int32_t i = 0; i < n; ++i)
            pending_route_changes.push_back({.input = i, .output = i});
    }

    // A flush that leaves everything as it is.
    void expect_nothing_done()
    {
        const auto pending = pending_route_changes.size();
        send_route_changes();
        EXPECT_EQ(pending_route_changes.size(), pending);
        EXPECT_EQ(flush_allow_time, 0U);
        EXPECT_EQ(queue_timeout_time, 0U);
        EXPECT_EQ(diagnostics(), "");
        EXPECT_TRUE(router_hears().empty());
    }
};

using Requests = std::vector<std::string>;
} // namespace

TEST_F(RouteQueue, SendsTheLastChangePerOutputInOutputOrder)
{
    connect_router();
    pending_route_changes = {
        {.input = 2, .output = 1}, {.input = 3, .output = 0}, {.input = 5, .output = 0}};
    send_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 0 5", "QI 0 0", "TI 1 2", "QI 1 0"}));
    EXPECT_EQ(flush_allow_time, FAKE_START_US + 132'000);
    EXPECT_TRUE(pending_route_changes.empty());
}

TEST_F(RouteQueue, WaitsForAConnection)
{
    make_pending(1);
    expect_nothing_done();
}

TEST_F(RouteQueue, WaitsWhileConnecting)
{
    connect_router();
    make_pending(1);
    connect_in_progress = true;
    expect_nothing_done();
}

TEST_F(RouteQueue, WaitsForDiscovery)
{
    connect_router();
    make_pending(1);
    discovery_needed = true;
    expect_nothing_done();
}

TEST_F(RouteQueue, NeitherSendsNorDrainsWithoutOutputs)
{
    connect_router();
    make_pending(1);
    number_of_outputs = 0;
    expect_nothing_done();
}

TEST_F(RouteQueue, LeavesThePacingAloneWhenNothingIsPending)
{
    connect_router();
    staged_route_changes = {{.input = 1, .output = 1}};
    expect_nothing_done();
    EXPECT_EQ(staged_route_changes.size(), 1U);
}

TEST_F(RouteQueue, HoldsBackWhatComesTooSoon)
{
    connect_router();
    make_pending(1);
    flush_allow_time = FAKE_START_US + 1;
    send_route_changes();
    EXPECT_EQ(diagnostics(), "<DBG>Route changes too soon, will flush later\n");
    EXPECT_EQ(pending_route_changes.size(), 1U);
    EXPECT_EQ(flush_allow_time, FAKE_START_US + 1);
    EXPECT_EQ(queue_timeout_time, 0U);
    EXPECT_EQ(router_hears(), Requests{});
}

TEST_F(RouteQueue, SendsAtTheAllowedTimeExactly)
{
    connect_router();
    make_pending(1);
    flush_allow_time = FAKE_START_US;
    send_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 0 0", "QI 0 0"}));
    EXPECT_EQ(flush_allow_time, FAKE_START_US + 66'000);
}

TEST_F(RouteQueue, CountsTheTimeoutFromTheBurst)
{
    connect_router();
    make_pending(1);
    queue_timeout_time = 17;
    send_route_changes();
    EXPECT_EQ(queue_timeout_time, FAKE_START_US + 5'000'000);
}

TEST_F(RouteQueue, PacesByTheLengthOfTheBurstUpToALimit)
{
    const std::pair<std::int32_t, us_time_t> cases[] = {
        {1, 66'000}, {11, 726'000}, {12, 750'000}, {20, 750'000}, {32, 750'000}};
    for (const auto& [changes, interval] : cases) {
        connect_router();
        flush_allow_time = 0;
        make_pending(changes);
        send_route_changes();
        EXPECT_EQ(flush_allow_time, FAKE_START_US + interval) << changes;
        EXPECT_EQ(router_hears().size(), 2U * static_cast<std::size_t>(changes));
        close_router_connection();
        router_closes();
    }
}

TEST_F(RouteQueue, DropsChangesOfOutputsThatDoNotExist)
{
    connect_router();
    number_of_outputs = 4;
    pending_route_changes = {{.input = 1, .output = 4},
                             {.input = 1, .output = -1},
                             {.input = 1, .output = INT32_MIN},
                             {.input = 1, .output = INT32_MAX},
                             {.input = 6, .output = 3}};
    send_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 3 6", "QI 3 0"}));
    EXPECT_TRUE(pending_route_changes.empty());
    EXPECT_EQ(flush_allow_time, FAKE_START_US + 66'000);
}

TEST_F(RouteQueue, AllowsTheNextBurstAtOnceAfterOneWithoutAValidChange)
{
    connect_router();
    pending_route_changes = {{.input = 1, .output = 32}, {.input = -2, .output = 2}};
    send_route_changes();
    EXPECT_EQ(router_hears(), Requests{});
    EXPECT_TRUE(pending_route_changes.empty());
    EXPECT_EQ(flush_allow_time, FAKE_START_US);
    EXPECT_EQ(queue_timeout_time, FAKE_START_US + 5'000'000);
}

TEST_F(RouteQueue, DropsAnOutputWhoseLastInputIsNeitherASourceNorNone)
{
    connect_router();
    pending_route_changes = {{.input = 5, .output = 2}, {.input = INT32_MIN, .output = 2}};
    send_route_changes();
    EXPECT_EQ(router_hears(), Requests{});
}

TEST_F(RouteQueue, SendsNoInputAsOneBelowTheBase)
{
    connect_router();
    pending_route_changes = {{.input = -1, .output = 2}};
    send_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 2 FFFFFFFF", "QI 2 0"}));

    flush_allow_time = 0;
    input_index_base = 16;
    pending_route_changes = {{.input = -1, .output = 2}};
    send_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 2 F", "QI 2 0"}));
}

TEST_F(RouteQueue, AddsTheRoutersIndexBases)
{
    connect_router();
    output_index_base = 16;
    input_index_base = 1;
    pending_route_changes = {{.input = 0, .output = 2}, {.input = 25, .output = 30}};
    send_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 12 1", "QI 12 0", "TI 2E 1A", "QI 2E 0"}));
}

TEST_F(RouteQueue, SendsTheExactBytes)
{
    connect_router();
    pending_route_changes = {{.input = 11, .output = 0}};
    send_route_changes();
    EXPECT_EQ(router_hears_bytes(), "\x01N0TI\t0\tB61\x04"
                                    "\x01N0QI\t0\t076\x04");
}

TEST_F(RouteQueue, GoesOnWhenASendFails)
{
    connect_router();
    make_pending(3);
    force_result(SystemCall::Send, router_fd, -1, EPIPE);
    send_route_changes();
    EXPECT_EQ(router_fd, -1);
    EXPECT_TRUE(pending_route_changes.empty()) << "nothing is restored";
    EXPECT_EQ(flush_allow_time, FAKE_START_US + 3 * 66'000);
    EXPECT_EQ(diagnostics(), "<NOTE>Connection problem, Broken pipe\n"
                             "<NOTE>Connection to router closed\n"
                             "<DBG>Send to router: \x01N0TI\t0\t073\x04\n");
}

TEST_F(RouteQueue, ServesBothSidesBeforeEachMessageAndAtTheEnd)
{
    for (int dispatch = 1; dispatch <= 5; ++dispatch) {
        connect_router();
        flush_allow_time = 0;
        make_pending(2);
        router_says("IQ", {"0", "0", "0", "0", "0"});
        parent_says_at_dispatch(dispatch, "*TYPE=command\n*COMMAND=report\nwhat=inputs");
        send_route_changes();
        EXPECT_EQ(parent_hears(), "*TYPE=reply\n\n") << dispatch;
        EXPECT_EQ(router_rx_queue.size(), 1U);
        router_rx_queue.clear();
        close_router_connection();
        router_closes();
    }
}

namespace {
std::optional<SystemCall> before_handling;

void note_last_call(ParentRecord&)
{
    before_handling = last_call(router_fd);
}
} // namespace

TEST_F(RouteQueue, ServesTheRouterBeforeTheParentEachTime)
{
    connect_router();
    set_parent_record_handler(note_last_call);
    for (int dispatch = 1; dispatch <= 5; ++dispatch) {
        before_handling.reset();
        flush_allow_time = 0;
        make_pending(2);
        parent_says_at_dispatch(dispatch, "*TYPE=command\n*COMMAND=x");
        send_route_changes();
        EXPECT_EQ(before_handling, SystemCall::Read) << "not the take before";
    }
}

TEST_F(RouteQueue, SendsTheHighestOutputThatThereIs)
{
    connect_router();
    number_of_outputs = 256;
    pending_route_changes = {{.input = 1, .output = 255}, {.input = 1, .output = 256}};
    send_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI FF 1", "QI FF 0"}));
}

TEST_F(RouteQueue, LeavesASixthDispatchToOthers)
{
    connect_router();
    make_pending(2);
    parent_says_at_dispatch(6, "*TYPE=command\n*COMMAND=report\nwhat=inputs");
    send_route_changes();
    EXPECT_EQ(parent_hears(), "");
}

TEST_F(RouteQueue, NotesTheLostConnectionBeforeItsFirstMessage)
{
    connect_router();
    make_pending(1);
    router_closes();
    send_route_changes();
    EXPECT_EQ(diagnostics(),
              "<NOTE>Connection suddenly dropped\n<NOTE>Connection to router closed\n");
    EXPECT_TRUE(pending_route_changes.empty());
}
