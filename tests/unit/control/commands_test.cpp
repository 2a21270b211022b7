#include "common/loop_flags.h"
#include "control/commands.h"
#include "frame/settings.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"
#include "support/backend_test.h"

namespace {
// What the parent says and what it hears.
struct answered_record {
    const char* title;
    const char* said;
    const char* heard;
};

class Command : public BackendTest, public testing::WithParamInterface<answered_record> {};

class SetCommand : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        io_counts_changed = false;
    }
};
} // namespace

TEST_P(Command, IsAnswered)
{
    number_of_inputs = 4;
    number_of_outputs = 4;
    parent_says(GetParam().said);
    handle_parent_input();
    EXPECT_EQ(parent_hears(), GetParam().heard);
    EXPECT_EQ(diagnostics(), "");
    EXPECT_TRUE(staged_route_changes.empty());
    EXPECT_TRUE(pending_route_changes.empty());
    EXPECT_FALSE(inputs_report_pending);
    EXPECT_FALSE(outputs_report_pending);
}

namespace {
const answered_record ANSWERED_RECORDS[] = {
    {"UnknownMessage", "*TYPE=message\n*COMMAND=hello\n*ID=7",
     "*COMMAND=hello\n*ERROR=Message hello ignored\n*TYPE=reply\n*ID=7\n\n"},
    {"MessageWithoutCommand", "*TYPE=message\nname=inputs\nvalue=3",
     "*ERROR=Message  ignored\n*TYPE=reply\n\n"},
    {"RouteOutputAsMessage",
     "*TYPE=message\n*COMMAND=route output\n*ID=a b\nqueue=add\nto output=0\nfrom input=1",
     "*COMMAND=route output\n*ERROR=Message route output ignored\n*TYPE=reply\n*ID=a b\n\n"},
    {"ReportAsMessage", "*TYPE=message\n*COMMAND=report\nwhat=inputs",
     "*COMMAND=report\n*ERROR=Message report ignored\n*TYPE=reply\n\n"},
    {"SetInOtherCase", "*TYPE=message\n*COMMAND=Set\nname=inputs\nvalue=3",
     "*COMMAND=Set\n*ERROR=Message Set ignored\n*TYPE=reply\n\n"},
    {"SetAsCommand", "*TYPE=command\n*COMMAND=set\nname=inputs\nvalue=3",
     "*COMMAND=set\n*ERROR=Unknown command set\n*TYPE=reply\n\n"},
    {"UnknownCommand", "*TYPE=command\n*COMMAND=jump\n*ID=9",
     "*COMMAND=jump\n*ERROR=Unknown command jump\n*TYPE=reply\n*ID=9\n\n"},
    {"CommandWithoutName", "*TYPE=command\n*ID=9\nwhat=inputs",
     "*ERROR=Unknown command \n*TYPE=reply\n*ID=9\n\n"},
    {"CommandInOtherCase", "*TYPE=command\n*COMMAND=Report\nwhat=inputs",
     "*COMMAND=Report\n*ERROR=Unknown command Report\n*TYPE=reply\n\n"},
    {"CommandWithBlank", "*TYPE=command\n*COMMAND=route output \nqueue=add\nto output=0",
     "*COMMAND=route output \n*ERROR=Unknown command route output \n*TYPE=reply\n\n"},
    {"Reply", "*TYPE=reply\n*COMMAND=report\n*ID=1\nwhat=inputs", ""},
    {"NoType", "*COMMAND=report\nwhat=inputs", ""},
    {"TypeInOtherCase", "*TYPE=Command\n*COMMAND=report\nwhat=inputs", ""},
    {"TypeWithBlank", "*TYPE=message \n*COMMAND=hello", ""},
    {"ReceivedErrorIsNotEchoed", "*TYPE=command\n*COMMAND=report\n*ERROR=old\n*ID=1\nwhat=inputs",
     "*TYPE=reply\n*ID=1\n\n"},
    {"ReportInputs", "*TYPE=command\n*COMMAND=report\n*ID=12\nwhat=inputs\nx=y",
     "*TYPE=reply\n*ID=12\n\n"},
    {"ReportOutputsUnconnected", "*TYPE=command\n*COMMAND=report\n*ID=12\nwhat=outputs",
     "*TYPE=reply\n*ID=12\n\n"},
    {"ReportOfOtherCase", "*TYPE=command\n*COMMAND=report\n*ID=12\nwhat=Outputs",
     "*COMMAND=report\n*ERROR=I do not recognize what you are asking for\n*TYPE=reply\n*ID=12\n\n"},
    {"ReportOfNothing", "*TYPE=command\n*COMMAND=report",
     "*COMMAND=report\n*ERROR=I do not recognize what you are asking for\n*TYPE=reply\n\n"},
    {"ReportOfLevels", "*TYPE=command\n*COMMAND=report\nwhat=levels",
     "*COMMAND=report\n*ERROR=I do not recognize what you are asking for\n*TYPE=reply\n\n"},
    {"RouteOutputWithoutQueue", "*TYPE=command\n*COMMAND=route output\n*ID=3\nto output=0",
     "*COMMAND=route output\n*TYPE=reply\n*ID=3\n\n"},
    {"RouteOutputOfOtherCase",
     "*TYPE=command\n*COMMAND=route output\nqueue=Add\nto output=0\nfrom input=1",
     "*COMMAND=route output\n*TYPE=reply\n\n"},
    {"MessageOverTwoLines", "*TYPE=message\n*COMMAND=one\n*COMMAND=two",
     "*COMMAND=one\n*COMMAND=two\n*ERROR=Message one\n*ERROR=two ignored\n*TYPE=reply\n\n"},
};
} // namespace

INSTANTIATE_TEST_SUITE_P(Handled, Command, testing::ValuesIn(ANSWERED_RECORDS),
                         [](const auto& tested) { return tested.param.title; });

TEST_F(SetCommand, AppliesTheSettingWithoutReply)
{
    parent_says("*TYPE=message\n*COMMAND=set\n*ID=5\nname=inputs\nvalue=8");
    handle_parent_input();
    EXPECT_EQ(parent_hears(), "");
    EXPECT_EQ(configured_inputs, 8);
    EXPECT_EQ(configured_outputs, 0);
    EXPECT_TRUE(io_counts_changed);
}

TEST_F(SetCommand, ReadsAMissingValueAsEmpty)
{
    configured_outputs = 5;
    parent_says("*TYPE=message\n*COMMAND=set\nname=outputs");
    handle_parent_input();
    EXPECT_EQ(configured_outputs, 0);
    EXPECT_EQ(parent_hears(), "");
}

TEST_F(SetCommand, AppliesNoUnnamedSetting)
{
    parent_says("*TYPE=message\n*COMMAND=set\nvalue=8");
    handle_parent_input();
    EXPECT_EQ(parent_hears(), "");
    EXPECT_FALSE(io_counts_changed);
    EXPECT_FALSE(disconnect_requested);
}

TEST_F(SetCommand, ReachesTheRoutersAddress)
{
    parent_says("*TYPE=message\n*COMMAND=set\nname=ip address\nvalue=127.0.0.9");
    handle_parent_input();
    EXPECT_EQ(router_ip_address, "127.0.0.9");
    EXPECT_TRUE(disconnect_requested);
}
