#include "common/loop_flags.h"
#include "control/commands.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_model/route_queue.h"
#include "support/backend_test.h"

namespace {
class RoutePacing : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        install_commands();
        number_of_inputs = 32;
        number_of_outputs = 32;
        connect_router();
    }

    static void make_pending(std::int32_t output)
    {
        pending_route_changes.push_back({.input = 1, .output = output});
    }

    void parent_flushes_at_dispatch(int n)
    {
        parent_says_at_dispatch(n, "*TYPE=command\n*COMMAND=route output\nqueue=flush");
    }
};

using Requests = std::vector<std::string>;

constexpr us_time_t NOW = FAKE_START_US;
const std::string DELAYED = "<DBG>Now sending delayed route changes\n";
const std::string TOO_SOON = "<DBG>Route changes too soon, will flush later\n";
} // namespace

TEST_F(RoutePacing, SendsNothingOnItsOwnBeforeTheFirstBurst)
{
    make_pending(0);
    pace_route_changes();
    EXPECT_EQ(pending_route_changes.size(), 1U);
    EXPECT_EQ(diagnostics(), "");
}

TEST_F(RoutePacing, SendsNothingBeforeTheAllowedTime)
{
    make_pending(0);
    flush_allow_time = NOW + 1;
    pace_route_changes();
    EXPECT_EQ(pending_route_changes.size(), 1U);
    EXPECT_EQ(diagnostics(), "");
}

TEST_F(RoutePacing, SendsADelayedBurstAtTheAllowedTime)
{
    make_pending(2);
    flush_allow_time = NOW;
    pace_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 2 1", "QI 2 0"}));
    EXPECT_EQ(diagnostics(), DELAYED + "<DBG>Send to router: \x01N0TI\t2\t170\x04\n"
                                       "<DBG>Send to router: \x01N0QI\t2\t074\x04\n");
}

TEST_F(RoutePacing, SaysNothingWhenNothingIsPending)
{
    flush_allow_time = NOW;
    staged_route_changes = {{.input = 1, .output = 1}};
    pace_route_changes();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(staged_route_changes.size(), 1U);
}

TEST_F(RoutePacing, AnnouncesTheDelayedBurstOnEachPassWhileItIsBlocked)
{
    make_pending(2);
    flush_allow_time = NOW;
    discovery_needed = true;
    pace_route_changes();
    pace_route_changes();
    pace_route_changes();
    EXPECT_EQ(diagnostics(), DELAYED + DELAYED + DELAYED);
    EXPECT_EQ(pending_route_changes.size(), 1U);
}

TEST_F(RoutePacing, HoldsASecondFlushBackAndSendsItLater)
{
    make_pending(0);
    send_route_changes();
    router_hears();
    diagnostics();
    advance_us(10'000);
    make_pending(1);
    send_route_changes();
    EXPECT_EQ(diagnostics(), TOO_SOON);
    advance_us(55'999);
    pace_route_changes();
    EXPECT_EQ(router_hears(), Requests{});
    advance_us(1);
    pace_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 1 1", "QI 1 0"}));
    EXPECT_EQ(flush_allow_time, NOW + 66'000 + 66'000);
}

TEST_F(RoutePacing, DropsStagedAndPendingChangesAtTheTimeout)
{
    make_pending(0);
    staged_route_changes = {{.input = 1, .output = 1}};
    flush_allow_time = NOW - 1;
    queue_timeout_time = NOW;
    pace_route_changes();
    EXPECT_TRUE(staged_route_changes.empty());
    EXPECT_TRUE(pending_route_changes.empty());
    EXPECT_EQ(queue_timeout_time, 0U);
    EXPECT_EQ(flush_allow_time, NOW - 1);
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(router_hears(), Requests{}) << "the expiry comes before the delayed burst";
}

TEST_F(RoutePacing, DropsNothingBeforeTheTimeout)
{
    connect_in_progress = true;
    make_pending(0);
    staged_route_changes = {{.input = 1, .output = 1}};
    queue_timeout_time = NOW + 1;
    pace_route_changes();
    EXPECT_EQ(staged_route_changes.size(), 1U);
    EXPECT_EQ(pending_route_changes.size(), 1U);
    EXPECT_EQ(queue_timeout_time, NOW + 1);
    advance_us(1);
    pace_route_changes();
    EXPECT_TRUE(staged_route_changes.empty());
    EXPECT_TRUE(pending_route_changes.empty());
}

TEST_F(RoutePacing, NeverDropsWithoutATimeout)
{
    staged_route_changes = {{.input = 1, .output = 1}};
    make_pending(0);
    connect_in_progress = true;
    advance_us(3'600'000'000);
    pace_route_changes();
    EXPECT_EQ(staged_route_changes.size(), 1U);
    EXPECT_EQ(pending_route_changes.size(), 1U);
}

TEST_F(RoutePacing, DropsWhatWasStagedShortlyBeforeTheTimeout)
{
    make_pending(0);
    send_route_changes();
    advance_us(4'999'999);
    staged_route_changes = {{.input = 1, .output = 1}};
    pace_route_changes();
    EXPECT_EQ(staged_route_changes.size(), 1U);
    advance_us(1);
    pace_route_changes();
    EXPECT_TRUE(staged_route_changes.empty());
}

TEST_F(RoutePacing, ResetsABogusTimeout)
{
    queue_timeout_time = NOW + 9'999'999;
    pace_route_changes();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(queue_timeout_time, NOW + 9'999'999);

    queue_timeout_time = NOW + 10'000'000;
    staged_route_changes = {{.input = 1, .output = 1}};
    pace_route_changes();
    EXPECT_EQ(diagnostics(), "<WARN>Queue timeout too far into the future\n");
    EXPECT_EQ(queue_timeout_time, 0U);
    EXPECT_EQ(staged_route_changes.size(), 1U);
}

TEST_F(RoutePacing, ResetsABogusAllowedTime)
{
    make_pending(0);
    flush_allow_time = NOW + 999'999;
    pace_route_changes();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(flush_allow_time, NOW + 999'999);

    flush_allow_time = NOW + 1'000'000;
    pace_route_changes();
    EXPECT_EQ(diagnostics(), "<WARN>Flush allow too far into the future\n");
    EXPECT_EQ(flush_allow_time, 0U);
    EXPECT_EQ(pending_route_changes.size(), 1U) << "sent by the next flush only";
}

TEST_F(RoutePacing, ResetsBothBogusTimes)
{
    make_pending(0);
    queue_timeout_time = UINT64_MAX;
    flush_allow_time = UINT64_MAX;
    pace_route_changes();
    EXPECT_EQ(diagnostics(), "<WARN>Queue timeout too far into the future\n"
                             "<WARN>Flush allow too far into the future\n");
    EXPECT_EQ(queue_timeout_time, 0U);
    EXPECT_EQ(flush_allow_time, 0U);
    EXPECT_EQ(pending_route_changes.size(), 1U);
}

TEST_F(RoutePacing, SendsADelayedBurstAlsoWhenTheTimeoutWasBogus)
{
    make_pending(0);
    queue_timeout_time = NOW + 10'000'000;
    flush_allow_time = NOW - 1;
    pace_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 0 1", "QI 0 0"}));
    EXPECT_EQ(queue_timeout_time, NOW + 5'000'000);
}

TEST_F(RoutePacing, ExpiresAlsoWhenTheAllowedTimeWasBogus)
{
    make_pending(0);
    queue_timeout_time = NOW;
    flush_allow_time = NOW + 1'000'000;
    pace_route_changes();
    EXPECT_EQ(diagnostics(), "<WARN>Flush allow too far into the future\n");
    EXPECT_TRUE(pending_route_changes.empty());
}

TEST_F(RoutePacing, SendsAFlushThatComesInsideABurstBeforeItsFirstMessage)
{
    make_pending(5);
    staged_route_changes = {{.input = 9, .output = 3}};
    parent_flushes_at_dispatch(1);
    send_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 3 9", "QI 3 0", "TI 5 1", "QI 5 0"}));
    EXPECT_EQ(flush_allow_time, NOW + 2 * 66'000);
}

TEST_F(RoutePacing, SendsAFlushThatComesBetweenTakeAndQueryOfTheFirstChange)
{
    make_pending(5);
    staged_route_changes = {{.input = 9, .output = 3}};
    parent_flushes_at_dispatch(2);
    send_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 5 1", "TI 3 9", "QI 3 0", "QI 5 0"}));
    EXPECT_EQ(flush_allow_time, NOW + 2 * 66'000);
}

TEST_F(RoutePacing, HoldsBackAFlushThatComesInsideABurstAfterTheFirstChange)
{
    make_pending(5);
    make_pending(6);
    staged_route_changes = {{.input = 9, .output = 3}};
    parent_flushes_at_dispatch(3);
    send_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 5 1", "QI 5 0", "TI 6 1", "QI 6 0"}));
    EXPECT_NE(diagnostics().find(TOO_SOON), std::string::npos);
    EXPECT_EQ(pending_route_changes.size(), 1U);
    EXPECT_EQ(flush_allow_time, NOW + 2 * 66'000);
    EXPECT_EQ(parent_hears(), "*COMMAND=route output\n*TYPE=reply\n\n");
}

TEST_F(RoutePacing, CapsByItsOwnStartAfterANestedBurst)
{
    for (std::int32_t output = 0; output < 12; ++output)
        make_pending(output);
    for (std::int32_t output = 12; output < 24; ++output)
        staged_route_changes.push_back({.input = 1, .output = output});
    set_parent_record_handler([](ParentRecord& record) {
        advance_us(100'000);
        handle_parent_record(record);
    });
    parent_flushes_at_dispatch(1);
    send_route_changes();
    EXPECT_EQ(router_hears().size(), 48U);
    EXPECT_EQ(flush_allow_time, NOW + 750'000);
}
