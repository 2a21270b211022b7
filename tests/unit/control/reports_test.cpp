#include "common/loop_flags.h"
#include "control/reports.h"
#include "frame/settings.h"
#include "router_model/state.h"
#include "support/backend_test.h"
#include "support/info_record.h"

namespace {
class RoutingReport : public BackendTest {};
class NamesReport : public BackendTest {};
class InfoReport : public BackendTest {};
} // namespace

TEST_F(RoutingReport, IsNotSentWithoutChanges)
{
    number_of_outputs = 4;
    send_routing_report();
    EXPECT_EQ(parent_hears(), "");
}

TEST_F(RoutingReport, TellsTheLatestInputOfEachOutput)
{
    number_of_outputs = 4;
    accepted_route_changes = {
        {.input = 3, .output = 1}, {.input = -1, .output = 2}, {.input = 5, .output = 1}};
    send_routing_report();
    EXPECT_EQ(parent_hears(), "*COMMAND=outputs\n*TYPE=message\n"
                              "o1.input.all=5\no2.input.all=none\n\n");
    EXPECT_TRUE(accepted_route_changes.empty());
    send_routing_report();
    EXPECT_EQ(parent_hears(), "");
}

TEST_F(RoutingReport, LetsNoneReplaceAnInput)
{
    number_of_outputs = 4;
    accepted_route_changes = {{.input = 3, .output = 1}, {.input = INT32_MIN, .output = 1}};
    send_routing_report();
    EXPECT_EQ(parent_hears(), "*COMMAND=outputs\n*TYPE=message\no1.input.all=none\n\n");
}

TEST_F(RoutingReport, IsSentEmptyWhenNoOutputIsKnown)
{
    number_of_outputs = 4;
    accepted_route_changes = {{.input = 0, .output = 7},
                              {.input = 0, .output = 4},
                              {.input = 0, .output = -1},
                              {.input = 0, .output = INT32_MIN}};
    send_routing_report();
    EXPECT_EQ(parent_hears(), "*COMMAND=outputs\n*TYPE=message\n\n");
    EXPECT_TRUE(accepted_route_changes.empty());
}

TEST_F(RoutingReport, GoesOnAfterAnUnknownOutput)
{
    number_of_outputs = 4;
    accepted_route_changes = {{.input = 0, .output = 7}, {.input = 0, .output = 3}};
    send_routing_report();
    EXPECT_EQ(parent_hears(), "*COMMAND=outputs\n*TYPE=message\no3.input.all=0\n\n");
}

TEST_F(RoutingReport, ShowsAnyInput)
{
    number_of_inputs = 2;
    number_of_outputs = 11;
    accepted_route_changes = {{.input = INT32_MAX, .output = 0}, {.input = 2, .output = 10}};
    send_routing_report();
    EXPECT_EQ(parent_hears(), "*COMMAND=outputs\n*TYPE=message\n"
                              "o0.input.all=2147483647\no10.input.all=2\n\n");
}

TEST_F(NamesReport, ListsOutputsInByteOrderOfTheirKeys)
{
    for (int i = 0; i < 12; ++i)
        router_outputs_info.push_back(
            {.name = "N" + std::to_string(i), .attribute = 9, .reserved_text = ""});
    number_of_outputs = 1;
    send_outputs_report();
    EXPECT_EQ(parent_hears(), "*COMMAND=outputs\n*TYPE=message\no0.name=N0\no1.name=N1\n"
                              "o10.name=N10\no11.name=N11\no2.name=N2\no3.name=N3\no4.name=N4\n"
                              "o5.name=N5\no6.name=N6\no7.name=N7\no8.name=N8\no9.name=N9\n\n");
}

TEST_F(NamesReport, ListsInputsWhateverTheEffectiveCount)
{
    router_inputs_info = {{.name = "Camera 1"}, {.name = ""}, {.name = "VTR=1"}};
    number_of_inputs = 2;
    number_of_outputs = 1;
    router_outputs_info.resize(1);
    send_inputs_report();
    EXPECT_EQ(parent_hears(), "*COMMAND=inputs\n*TYPE=message\n"
                              "i0.name=Camera 1\ni1.name=\ni2.name=VTR=1\n\n");
}

TEST_F(NamesReport, IsSentForEmptyTables)
{
    number_of_inputs = 2;
    number_of_outputs = 2;
    send_outputs_report();
    send_inputs_report();
    EXPECT_EQ(parent_hears(), "*COMMAND=outputs\n*TYPE=message\n\n"
                              "*COMMAND=inputs\n*TYPE=message\n\n");
}

TEST_F(InfoReport, TellsCountsAndIdentity)
{
    number_of_inputs = 12;
    number_of_outputs = 256;
    firmware_version = "Title 1.2 [r5]";
    device_model = "Model 3";
    software_title = "Title 1.2";
    send_info_report();
    EXPECT_EQ(parent_hears(), info_record(12, 256, "Model 3", "Title 1.2 [r5]"));
}

TEST_F(InfoReport, IsEmptyOfIdentityBeforeDiscovery)
{
    configured_inputs = 8;
    configured_outputs = 4;
    recompute_io_counts();
    send_info_report();
    EXPECT_EQ(parent_hears(), info_record(8, 4));
}

TEST_F(InfoReport, IsSentOnTheFirstPassAndAfterEachChangeOfCounts)
{
    install_commands();
    configured_outputs = 4;
    run_passes(2);
    EXPECT_EQ(parent_hears(), info_record(0, 4));
    parent_says("*TYPE=message\n*COMMAND=set\nname=outputs\nvalue=300");
    run_passes(40);
    EXPECT_EQ(parent_hears(), info_record(0, 256));
}

TEST_F(InfoReport, LeavesItsFlagToTheCaller)
{
    info_report_pending = true;
    inputs_report_pending = true;
    outputs_report_pending = true;
    send_info_report();
    send_inputs_report();
    send_outputs_report();
    EXPECT_TRUE(info_report_pending);
    EXPECT_TRUE(inputs_report_pending);
    EXPECT_TRUE(outputs_report_pending);
}
