#include "frame/settings.h"
#include "support/info_record.h"
#include "unit/router_model/discovery_fixture.h"

namespace {
class DiscoveryEnd : public DiscoveryTest {
  protected:
    // The n-th message to the router, from 1, breaks the connection.
    static void break_message(int n)
    {
        for (int i = 1; i < n; ++i)
            limit_next_write(SystemCall::Send, router_fd, 1024);
        force_result(SystemCall::Send, router_fd, -1, EPIPE);
    }
};

struct firmware_case {
    const char* title;
    const char* revision;
    const char* firmware;
};

class FirmwareText : public DiscoveryTest, public testing::WithParamInterface<firmware_case> {};
} // namespace

TEST_P(FirmwareText, IsComposedOfTitleAndRevision)
{
    router_knows_names();
    router_answers("BK R", frame(body("KB", {"R", GetParam().revision, "x"})));
    router_answers("BK T", frame(body("KB", {"T", GetParam().title, "x"})));
    run_discovery();
    const std::string firmware = GetParam().firmware;
    EXPECT_EQ(firmware_version, firmware);
    EXPECT_EQ(logged("<NOTE>Firmware: " + firmware), !firmware.empty());
    EXPECT_NE(parent_hears().find("\nfirmware version=" + firmware + "\n"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Combinations, FirmwareText,
                         testing::Values(firmware_case{"Title 1.2", "r5", "Title 1.2 [r5]"},
                                         firmware_case{"Title 1.2", "", "Title 1.2"},
                                         firmware_case{"", "r5", "r5"}, firmware_case{"", "", ""}));

TEST_F(DiscoveryEnd, SchedulesTheFirstStatusRequest)
{
    run_discovery();
    EXPECT_EQ(next_status_request, DEADLINE + 350'000);
}

TEST_F(DiscoveryEnd, RecomputesTheCountsWhenTheyAreDue)
{
    router_knows_names(3);
    run_discovery();
    EXPECT_EQ(number_of_inputs, 2U);
    EXPECT_EQ(number_of_outputs, 3U);
    EXPECT_FALSE(io_counts_changed);
    EXPECT_FALSE(info_report_pending);
    EXPECT_TRUE(inputs_report_pending);
    EXPECT_TRUE(outputs_report_pending);
    EXPECT_EQ(parent_hears(), info_record(2, 3));
}

TEST_F(DiscoveryEnd, LeavesTheCountsWhenNothingHasChanged)
{
    io_counts_changed = false;
    configured_outputs = 5;
    number_of_outputs = 1;
    run_discovery();
    EXPECT_EQ(number_of_outputs, 1U);
    EXPECT_EQ(parent_hears(), info_record(0, 1));
}

TEST_F(DiscoveryEnd, SendsWhatWasFlushedWhileTheRouterWasAway)
{
    router_knows_names(2);
    pending_route_changes = {{.input = 1, .output = 0}};
    run_discovery();
    EXPECT_EQ(router_hears(),
              all_requests({"BK D", "BK A", "TI 0 1", "QI 0 0", "QI 1 0", "QI 2 0"}));
    EXPECT_FALSE(logged("<DBG>Now sending delayed route changes"));
    EXPECT_TRUE(discovery_needed) << "the main loop's to clear";
}

TEST_F(DiscoveryEnd, SendsWhatWasHeldBack)
{
    router_knows_names(2);
    pending_route_changes = {{.input = 1, .output = 0}};
    flush_allow_time = FAKE_START_US - 1;
    run_discovery();
    EXPECT_TRUE(logged("<DBG>Now sending delayed route changes"));
    EXPECT_TRUE(pending_route_changes.empty());
}

TEST_F(DiscoveryEnd, DropsWhatHasExpiredMeanwhile)
{
    router_knows_names(2);
    pending_route_changes = {{.input = 1, .output = 0}};
    queue_timeout_time = FAKE_START_US;
    run_discovery();
    EXPECT_TRUE(pending_route_changes.empty());
    EXPECT_EQ(router_hears(), all_requests({"BK D", "BK A", "QI 1 0", "QI 2 0"}));
}

TEST_F(DiscoveryEnd, SendsRouteChangesBeforeTheInfoReport)
{
    router_knows_names(1);
    pending_route_changes = {{.input = 1, .output = 0}};
    parent_says_at_dispatch(DISPATCHES_BEFORE_QUERIES + 1,
                            "*TYPE=command\n*COMMAND=report\nwhat=inputs");
    run_discovery();
    EXPECT_EQ(parent_hears(), "*TYPE=reply\n\n" + info_record(2, 1));
}

TEST_F(DiscoveryEnd, LeavesTheFlagDownWhenTheLinkIsLostInTheBurst)
{
    router_knows_names(1);
    pending_route_changes = {{.input = 1, .output = 0}};
    break_message(12);
    run_discovery();
    EXPECT_FALSE(discovery_needed);
    EXPECT_EQ(parent_hears(), info_record(2, 1));
    EXPECT_TRUE(logged("<ERR>Unable to send message"));
}

TEST_F(DiscoveryEnd, HoldsRouteChangesBackDuringTheOutputQuery)
{
    router_knows_names(3);
    staged_route_changes = {{.input = 1, .output = 0}};
    parent_says_at_dispatch(DISPATCHES_BEFORE_QUERIES + 2,
                            "*TYPE=command\n*COMMAND=route output\nqueue=flush");
    run_discovery();
    EXPECT_EQ(router_hears(), all_requests({"BK D", "BK A", "QI 1 0", "QI 2 0", "QI 3 0"}));
    EXPECT_EQ(pending_route_changes.size(), 1U);
}

TEST_F(DiscoveryEnd, SendsTheInfoReportBeforeTheOutputQueryAndTheRoutingReportAfterIt)
{
    router_knows_names(1);
    accepted_route_changes = {{.input = 1, .output = 0}};
    parent_says_at_dispatch(DISPATCHES_BEFORE_QUERIES + 1,
                            "*TYPE=command\n*COMMAND=report\nwhat=inputs");
    run_discovery();
    EXPECT_EQ(parent_hears(), info_record(2, 1) + "*TYPE=reply\n\n" +
                                  "*COMMAND=outputs\n*TYPE=message\no0.input.all=1\n\n");
}

TEST_F(DiscoveryEnd, QueriesOutputsNumberedFromOne)
{
    io_counts_changed = false;
    number_of_outputs = 16;
    output_index_base = 3;
    run_discovery();
    EXPECT_EQ(router_hears(),
              all_requests({"BK D", "BK A", "QI 1 0", "QI 2 0", "QI 3 0", "QI 4 0", "QI 5 0",
                            "QI 6 0", "QI 7 0", "QI 8 0", "QI 9 0", "QI A 0", "QI B 0", "QI C 0",
                            "QI D 0", "QI E 0", "QI F 0", "QI 10 0"}));
}

TEST_F(DiscoveryEnd, ReadsTheCountAgainForEachQuery)
{
    router_knows_names(2);
    parent_says_at_dispatch(DISPATCHES_BEFORE_QUERIES + 2, "*TYPE=command\n*COMMAND=jump");
    set_parent_record_handler([](ParentRecord&) { number_of_outputs = 4; });
    run_discovery();
    EXPECT_EQ(router_hears(),
              all_requests({"BK D", "BK A", "QI 1 0", "QI 2 0", "QI 3 0", "QI 4 0"}));
}

TEST_F(DiscoveryEnd, StopsWhenTheLastRequestCannotBeSent)
{
    router_knows_names(2);
    break_message(10);
    run_discovery();
    EXPECT_TRUE(logged("<ERR>Unable to send message"));
    EXPECT_EQ(next_status_request, 0U);
    EXPECT_EQ(parent_hears(), "");
    EXPECT_TRUE(io_counts_changed);
    EXPECT_EQ(discovered_outputs, 2U) << "tables already updated stay";
}

TEST_F(DiscoveryEnd, StopsWhenAnOutputQueryCannotBeSent)
{
    router_knows_names(4);
    accepted_route_changes = {{.input = 1, .output = 0}};
    break_message(13);
    run_discovery();
    EXPECT_TRUE(logged("<ERR>Unable to send message"));
    EXPECT_EQ(router_hears(), all_requests({"BK D", "BK A", "QI 1 0"}));
    EXPECT_EQ(parent_hears(), info_record(2, 4));
    EXPECT_EQ(accepted_route_changes.size(), 1U) << "no routing report";
}
