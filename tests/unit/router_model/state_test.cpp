#include "common/loop_flags.h"
#include "frame/settings.h"
#include "router_model/state.h"
#include "support/backend_test.h"

namespace {
class EffectiveCounts : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        info_report_pending = false;
    }
};

class AcceptedRoutes : public BackendTest {};

// What recomputing makes of one configured and one discovered count.
struct count_case {
    std::int64_t configured;
    std::uint64_t discovered;
    std::uint64_t effective;
};

class CountRule : public BackendTest, public testing::WithParamInterface<count_case> {};
} // namespace

TEST_P(CountRule, HoldsForInputs)
{
    configured_inputs = GetParam().configured;
    discovered_inputs = GetParam().discovered;
    recompute_io_counts();
    EXPECT_EQ(number_of_inputs, GetParam().effective);
    EXPECT_EQ(number_of_outputs, 0U);
}

TEST_P(CountRule, HoldsForOutputs)
{
    configured_outputs = GetParam().configured;
    discovered_outputs = GetParam().discovered;
    recompute_io_counts();
    EXPECT_EQ(number_of_outputs, GetParam().effective);
    EXPECT_EQ(number_of_inputs, 0U);
}

INSTANTIATE_TEST_SUITE_P(
    EffectiveCounts, CountRule,
    testing::Values(count_case{0, 0, 0}, count_case{0, 32, 32}, count_case{8, 32, 8},
                    count_case{64, 32, 64}, count_case{0, 255, 255}, count_case{0, 256, 256},
                    count_case{0, 257, 256}, count_case{0, 1024, 256}, count_case{255, 1, 255},
                    count_case{256, 1, 256}, count_case{257, 1, 256}, count_case{-1, 4, 256},
                    count_case{INT32_MIN, 4, 256}, count_case{INT32_MAX, 4, 256}));

TEST_F(EffectiveCounts, LogAndReportAChangeOfInputsOnce)
{
    configured_inputs = 8;
    recompute_io_counts();
    EXPECT_EQ(diagnostics(), "<DBG>Changing number of inputs to 8\n");
    EXPECT_TRUE(info_report_pending);

    info_report_pending = false;
    recompute_io_counts();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_FALSE(info_report_pending);
}

TEST_F(EffectiveCounts, LogAndReportAChangeOfOutputsOnce)
{
    discovered_outputs = 300;
    recompute_io_counts();
    EXPECT_EQ(diagnostics(), "<DBG>Changing number of outputs to 256\n");
    EXPECT_TRUE(info_report_pending);

    info_report_pending = false;
    recompute_io_counts();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_FALSE(info_report_pending);
}

TEST_F(EffectiveCounts, LogInputsBeforeOutputs)
{
    configured_inputs = 4;
    configured_outputs = 2;
    recompute_io_counts();
    EXPECT_EQ(diagnostics(), "<DBG>Changing number of inputs to 4\n"
                             "<DBG>Changing number of outputs to 2\n");
}

TEST_F(EffectiveCounts, ReturnToTheDiscoveredOnesWhenNoLongerConfigured)
{
    discovered_inputs = 32;
    configured_inputs = 8;
    recompute_io_counts();
    info_report_pending = false;
    configured_inputs = 0;
    recompute_io_counts();
    EXPECT_EQ(number_of_inputs, 32U);
    EXPECT_TRUE(info_report_pending);
    EXPECT_EQ(diagnostics(), "<DBG>Changing number of inputs to 8\n"
                             "<DBG>Changing number of inputs to 32\n");
}

TEST_F(EffectiveCounts, LeaveTablesAndFlagAlone)
{
    router_inputs_info.resize(3);
    router_outputs_info.resize(5);
    configured_inputs = 1;
    configured_outputs = 20;
    recompute_io_counts();
    EXPECT_EQ(router_inputs_info.size(), 3U);
    EXPECT_EQ(router_outputs_info.size(), 5U);
    EXPECT_TRUE(io_counts_changed) << "the flag is its reader's to clear";
}

TEST_F(AcceptedRoutes, KeepArrivalOrder)
{
    number_of_outputs = 4;
    accept_route_change(3, 7);
    accept_route_change(0, -1);
    accept_route_change(3, 2);
    EXPECT_EQ(diagnostics(), "<DBG>Accepting route change output=3 input=7\n"
                             "<DBG>Accepting route change output=0 input=-1\n"
                             "<DBG>Accepting route change output=3 input=2\n");
    ASSERT_EQ(accepted_route_changes.size(), 3U);
    EXPECT_EQ(accepted_route_changes[0].output, 3);
    EXPECT_EQ(accepted_route_changes[0].input, 7);
    EXPECT_EQ(accepted_route_changes[1].output, 0);
    EXPECT_EQ(accepted_route_changes[1].input, -1);
    EXPECT_EQ(accepted_route_changes[2].input, 2);
}

TEST_F(AcceptedRoutes, LogButDropAnOutputOutsideTheEffectiveCount)
{
    number_of_outputs = 4;
    accept_route_change(4, 3);
    accept_route_change(5, 3);
    accept_route_change(-1, 3);
    EXPECT_EQ(diagnostics(), "<DBG>Accepting route change output=4 input=3\n"
                             "<DBG>Accepting route change output=5 input=3\n"
                             "<DBG>Accepting route change output=-1 input=3\n");
    EXPECT_TRUE(accepted_route_changes.empty());
}

TEST_F(AcceptedRoutes, HoldAnyInput)
{
    number_of_inputs = 2;
    number_of_outputs = 1;
    accept_route_change(0, 1000);
    accept_route_change(0, -2);
    ASSERT_EQ(accepted_route_changes.size(), 2U);
    EXPECT_EQ(accepted_route_changes[0].input, 1000);
    EXPECT_EQ(accepted_route_changes[1].input, -2);
}

TEST(RouterRecords, StartAsTheyAreWhenTheRouterNamedNothing)
{
    const OutputInfo output;
    EXPECT_EQ(output.name, "");
    EXPECT_EQ(output.attribute, 0U);
    EXPECT_EQ(output.reserved_number, -1);
    EXPECT_EQ(output.reserved_text, "");
    const InputInfo input;
    EXPECT_EQ(input.name, "");
    EXPECT_EQ(input.attribute, 0U);
    const RouteChange change;
    EXPECT_EQ(change.input, -1);
    EXPECT_EQ(change.output, -1);
}
