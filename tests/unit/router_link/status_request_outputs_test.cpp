// Changed destinations and their queries, the next due time, and the drain of received messages.
#include <cstdlib>
#include <sys/socket.h>

#include "router_link/status_request.h"
#include "unit/router_link/status_cycle.h"

namespace {
constexpr us_time_t PAUSE_US = 10'000;

class StatusOutputs : public StatusCycle {};

class StatusDrain : public StatusOutputs {
  protected:
    void SetUp() override
    {
        StatusOutputs::SetUp();
        next_status_request = 0;
    }
};

// A cycle with flags 0 dispatches twice in each of its three waited exchanges.
constexpr int DISPATCHES_BEFORE_QUERIES = 6;
} // namespace

TEST_F(StatusOutputs, QueriesTheNamedOutputsInOrder)
{
    EXPECT_EQ(queries_after(framed("DQ", {"F", "x"}, '1') + framed("DQ", {"B", "x"})),
              (Requests{"QI 2 0", "QI 6 0"}));
}

TEST_F(StatusOutputs, MarksEveryOutputOfAName)
{
    EXPECT_EQ(queries_after(framed("DQ", {"A", "x"})), (Requests{"QI 1 0", "QI 3 0"}));
}

TEST_F(StatusOutputs, QueriesAnOutputOnceForTwoMessages)
{
    EXPECT_EQ(queries_after(framed("DQ", {"B", "x"}, '1') + framed("DQ", {"B", "y"})),
              Requests{"QI 2 0"});
}

TEST_F(StatusOutputs, MarksUnnamedOutputsForAnEmptyName)
{
    EXPECT_EQ(queries_after(framed("DQ", {"", "x"})), Requests{"QI 4 0"});
}

TEST_F(StatusOutputs, MarksNothingForAnUnknownName)
{
    EXPECT_EQ(queries_after(framed("DQ", {"a", "x"}, '1') + framed("DQ", {"AB", "x"})), Requests{});
}

TEST_F(StatusOutputs, NeedsGoodMessagesOfTwoParameters)
{
    EXPECT_EQ(
        queries_after(framed("DQ", {"A"}, '1') + framed("DQ", {}, '1') + framed("DX", {"E", "x"})),
        Requests{});
}

TEST_F(StatusOutputs, AcceptsAMessageOfMoreParameters)
{
    EXPECT_EQ(queries_after(framed("DQ", {"B", "x", "y"})), Requests{"QI 2 0"});
}

TEST_F(StatusOutputs, DoesNotUseAMessageThatIsNotGood)
{
    router_answers("BK F", framed("XX", {}));
    at_us(FAKE_START_US + PAUSE_US + 1, [] {
        router_message bad = received("DQ", {"A", "x"});
        bad.ok = false;
        router_rx_queue.push_back(bad);
    });
    periodic_status_request();
    EXPECT_EQ(router_hears(), (Requests{"BK F", "QD"}));
    EXPECT_GE(router_fd, 0);
}

TEST_F(StatusOutputs, NumbersOutputsFrom1InUpperCaseWhateverTheirBase)
{
    router_outputs_info.assign(300, {});
    router_outputs_info[9].name = router_outputs_info[255].name = "Z";
    router_outputs_info[256].name = "Z";
    discovered_outputs = 300;
    number_of_outputs = 256;
    output_index_base = 7;
    EXPECT_EQ(queries_after(framed("DQ", {"Z", "x"})), (Requests{"QI A 0", "QI 100 0"}));
}

TEST_F(StatusOutputs, QueriesOnlyEffectiveOutputs)
{
    number_of_outputs = 2;
    EXPECT_EQ(queries_after(framed("DQ", {"A", "x"})), Requests{"QI 1 0"});
}

TEST_F(StatusOutputs, TreatsPositionsBeyondTheRoutersCountAsUnchanged)
{
    discovered_outputs = 2;
    EXPECT_EQ(queries_after(framed("DQ", {"A", "x"})), Requests{"QI 1 0"});
}

TEST_F(StatusOutputs, ComparesOnlyTheRecordsThereAre)
{
    router_outputs_info.resize(2);
    EXPECT_EQ(queries_after(framed("DQ", {"", "x"}, '1') + framed("DQ", {"A", "x"})),
              Requests{"QI 1 0"});
}

TEST_F(StatusOutputs, QueriesNothingWithoutOutputs)
{
    discovered_outputs = 0;
    EXPECT_EQ(queries_after(framed("DQ", {"A", "x"})), Requests{});
}

TEST_F(StatusOutputs, FollowsTheCountWhenItShrinksMeanwhile)
{
    when_dispatched(DISPATCHES_BEFORE_QUERIES + 1, [] { number_of_outputs = 1; });
    EXPECT_EQ(queries_after(framed("DQ", {"A", "x"})), Requests{"QI 1 0"});
}

TEST_F(StatusOutputs, TreatsPositionsOfACountThatGrewMeanwhileAsUnchanged)
{
    when_dispatched(DISPATCHES_BEFORE_QUERIES + 1, [] { number_of_outputs = 256; });
    EXPECT_EQ(queries_after(framed("DQ", {"F", "x"})), Requests{"QI 6 0"});
}

TEST_F(StatusOutputs, ServesTheRouterBeforeTheParentAtEachQuery)
{
    std::optional<SystemCall> before_handling;
    when_dispatched(DISPATCHES_BEFORE_QUERIES + 2, [&] { before_handling = last_call(router_fd); });
    EXPECT_EQ(queries_after(framed("DQ", {"A", "x"})).size(), 2U);
    EXPECT_EQ(before_handling, SystemCall::Read) << "not the first query";
}

TEST_F(StatusOutputs, DoesNotWaitForTheAnswersOfItsQueries)
{
    router_answers("QI 2 0", framed("IQ", {"1", "", "", "", "0"}));
    queries_after(framed("DQ", {"B", "x"}));
    EXPECT_TRUE(accepted_route_changes.empty());
    EXPECT_EQ(fake_now_us, FAKE_START_US + 3 * PAUSE_US);
    periodic_status_request();
    ASSERT_EQ(accepted_route_changes.size(), 1U);
    EXPECT_EQ(accepted_route_changes[0].output, 1);
}

TEST_F(StatusOutputs, GivesUpTwoSecondsAfterAskingForDestinations)
{
    answer_flags("0", "0");
    const us_time_t end = FAKE_START_US + 2 * PAUSE_US + 2'000'000;
    at_us(end, [] { router_rx_queue.push_back(received("XX")); });
    periodic_status_request();
    EXPECT_EQ(router_hears(), WHOLE_CYCLE);
    EXPECT_EQ(fake_now_us, end);
    EXPECT_EQ(router_fd, -1);
    EXPECT_EQ(next_status_request, FAKE_START_US);
    EXPECT_EQ(router_rx_queue.size(), 1U); // not drained
}

TEST_F(StatusOutputs, IsDueAgainAfterTheProductOfTwoDraws)
{
    answer_flags("0", "0");
    router_answers("QD", framed("ER", {"00", "QD"}));
    for (unsigned seed = 1; seed <= 20; ++seed) { // enough to set and clear every bit
        std::srand(seed);
        const auto first = static_cast<unsigned>(std::rand());
        const auto second = static_cast<unsigned>(std::rand());
        std::srand(seed);
        fake_now_us = last_router_activity = next_status_request;
        periodic_status_request();
        EXPECT_EQ(next_status_request, fake_now_us + (first * second & 0xFFF) + 350'000);
    }
}

TEST_F(StatusOutputs, IsDueAgainBetween350000And354095Microseconds)
{
    answer_flags("0", "0");
    router_answers("QD", framed("ER", {"00", "QD"}));
    for (int i = 0; i < 50; ++i) {
        fake_now_us = last_router_activity = next_status_request;
        periodic_status_request();
        ASSERT_GE(next_status_request - fake_now_us, 350'000U);
        ASSERT_LE(next_status_request - fake_now_us, 354'095U);
    }
}

TEST_F(StatusDrain, HandlesWhatTheRouterSendsByItself)
{
    router_says("IQ", {"1", "", "", "", "0"});
    router_says("XY", {});
    periodic_status_request();
    ASSERT_EQ(accepted_route_changes.size(), 1U);
    EXPECT_EQ(accepted_route_changes[0].output, 1);
    EXPECT_TRUE(router_rx_queue.empty());
    const std::string raw = received("XY").raw;
    const std::string text = diagnostics();
    const std::string last =
        "<DBG>Router message(raw): '" + raw + "' [OK] request=XY protocol=N seq=0 \n";
    EXPECT_EQ(text.substr(text.size() - last.size()), last);
}

TEST_F(StatusDrain, HandlesMessagesInOrder)
{
    for (const char* const destination : {"3", "1", "2"})
        router_rx_queue.push_back(received("IQ", {destination, "", "", "", "0"}));
    periodic_status_request();
    ASSERT_EQ(accepted_route_changes.size(), 3U);
    EXPECT_EQ(accepted_route_changes[0].output, 3);
    EXPECT_EQ(accepted_route_changes[1].output, 1);
    EXPECT_EQ(accepted_route_changes[2].output, 2);
}

TEST_F(StatusDrain, HandlesAMessageThatNeedsTwoReads)
{
    router_says("IQ", {"1", "", "", "", "0", std::string(4082, 'x')});
    periodic_status_request();
    EXPECT_EQ(accepted_route_changes.size(), 1U);
}

TEST_F(StatusDrain, RunsAfterACycle)
{
    next_status_request = fake_now_us;
    queries_after(framed("DQ", {"B"}) + framed("XY", {}));
    EXPECT_TRUE(router_rx_queue.empty());
}

TEST_F(StatusDrain, ReadsOnWhileItHandles)
{
    for (int i = 0; i < 100; ++i)
        router_says("XY", {std::string(200, 'x')});
    periodic_status_request();
    EXPECT_TRUE(router_rx_queue.empty());
    EXPECT_EQ(recv(router_fd, nullptr, 0, MSG_PEEK | MSG_DONTWAIT | MSG_TRUNC), -1);
}

TEST_F(StatusDrain, HandlesAtMost4096MessagesInOneCall)
{
    router_rx_queue.resize(5000);
    periodic_status_request();
    EXPECT_EQ(router_rx_queue.size(), 904U);
    EXPECT_TRUE(drain_interrupted);
    periodic_status_request();
    EXPECT_TRUE(router_rx_queue.empty());
    EXPECT_FALSE(drain_interrupted);
}

TEST_F(StatusDrain, IsNotInterruptedWhereTheBoundIsJustEnough)
{
    router_rx_queue.resize(4096);
    periodic_status_request();
    EXPECT_FALSE(drain_interrupted);
}

TEST_F(StatusDrain, IsFinishedBeforeACycleBegins)
{
    answer_flags("0", "0");
    router_answers("QD", framed("ER", {"00", "QD"}));
    router_rx_queue.resize(8193, received("IQ", {"1", "", "", "", "0"}));
    periodic_status_request();
    next_status_request = fake_now_us;
    periodic_status_request();
    periodic_status_request();
    EXPECT_EQ(router_hears(), Requests{});
    EXPECT_EQ(accepted_route_changes.size(), 8193U);
    periodic_status_request();
    EXPECT_EQ(router_hears(), WHOLE_CYCLE);
}

TEST_F(StatusDrain, IsFinishedAlsoWhenTheConnectionGoesMeanwhile)
{
    router_rx_queue.resize(5000, received("IQ", {"1", "", "", "", "0"}));
    periodic_status_request();
    close_router_connection();
    periodic_status_request();
    EXPECT_EQ(accepted_route_changes.size(), 5000U);
    EXPECT_FALSE(drain_interrupted);
}

TEST_F(StatusDrain, ServesTheRouterBeforeTheParent)
{
    when_dispatched(1, [this] { router_says("XY"); });
    periodic_status_request();
    EXPECT_EQ(diagnostics(), "");
    periodic_status_request();
    EXPECT_NE(diagnostics(), "");
}

TEST_F(StatusDrain, NeedsAConnection)
{
    router_rx_queue.resize(1);
    connect_in_progress = true;
    router_says("XY");
    periodic_status_request();
    EXPECT_EQ(router_rx_queue.size(), 1U);
    close_router_connection();
    connect_in_progress = false;
    periodic_status_request();
    EXPECT_EQ(router_rx_queue.size(), 1U);
}

TEST_F(StatusDrain, EndsWhenTheConnectionHasJustGone)
{
    router_rx_queue.resize(1);
    router_closes();
    periodic_status_request();
    EXPECT_EQ(router_rx_queue.size(), 1U);
    EXPECT_EQ(router_fd, -1);
}
