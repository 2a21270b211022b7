#include "common/loop_flags.h"
#include "control/commands.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_model/route_queue.h"
#include "support/backend_test.h"

namespace {
const std::string REPLY = "*COMMAND=route output\n*TYPE=reply\n*ID=1\n\n";

class RouteOutput : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        install_commands();
        number_of_inputs = 8;
        number_of_outputs = 4;
    }

    // Handles the command with these fields, whose reply is the same whatever they say.
    void command(const std::string& fields)
    {
        parent_says("*TYPE=command\n*COMMAND=route output\n*ID=1\n" + fields);
        handle_parent_input();
        EXPECT_EQ(parent_hears(), REPLY);
    }

    // What is staged, "output<input" each.
    static std::vector<std::string> staged()
    {
        std::vector<std::string> texts;
        for (const RouteChange& change : staged_route_changes)
            texts.push_back(std::to_string(change.output) + "<" + std::to_string(change.input));
        return texts;
    }
};

// A text and the position that it stages.
struct position_case {
    const char* text;
    std::int32_t position;
};

class RouteInput : public RouteOutput, public testing::WithParamInterface<position_case> {};

class InvalidRouteOutput : public RouteOutput, public testing::WithParamInterface<const char*> {};

using Texts = std::vector<std::string>;
} // namespace

TEST_F(RouteOutput, StagesAChange)
{
    command("queue=add\nto output=0\nfrom input=3");
    EXPECT_EQ(staged(), (Texts{"0<3"}));
    EXPECT_TRUE(pending_route_changes.empty());
}

TEST_F(RouteOutput, StagesInOrderWithoutMerging)
{
    command("queue=add\nto output=2\nfrom input=3");
    command("queue=add\nto output=0\nfrom input=3");
    command("queue=add\nto output=2\nfrom input=1");
    EXPECT_EQ(staged(), (Texts{"2<3", "0<3", "2<1"}));
}

TEST_P(RouteInput, IsReadFromTheStartOfTheText)
{
    command("queue=add\nto output=0\nfrom input=" + std::string(GetParam().text));
    EXPECT_EQ(staged(), (Texts{"0<" + std::to_string(GetParam().position)}));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, RouteInput,
    testing::Values(position_case{"", -1}, position_case{"0", 0}, position_case{"7", 7},
                    position_case{"8", -1}, position_case{"9", -1}, position_case{"07", 7},
                    position_case{"5abc", 5}, position_case{"5 6", 5}, position_case{"0x7", 0},
                    position_case{"-1", -1}, position_case{"+3", -1}, position_case{" 3", -1},
                    position_case{"x", -1}, position_case{"/", -1}, position_case{":", -1},
                    position_case{"2147483647", -1}, position_case{"2147483648", INT32_MIN},
                    position_case{"4294967295", -1}, position_case{"4294967296", 0},
                    position_case{"4294967302", 6}, position_case{"4294967304", -1},
                    position_case{"3000000000", -1294967296},
                    position_case{"9223372036854775807", -1},
                    position_case{"99999999999999999999", -1}));

TEST_F(RouteOutput, ReadsEveryDigitAtTheStart)
{
    number_of_inputs = 100;
    command("queue=add\nto output=0\nfrom input=9");
    command("queue=add\nto output=0\nfrom input=99");
    EXPECT_EQ(staged(), (Texts{"0<9", "0<99"}));
}

TEST_F(RouteOutput, StagesNoSourceForAMissingInput)
{
    command("queue=add\nto output=0");
    EXPECT_EQ(staged(), (Texts{"0<-1"}));
}

TEST_F(RouteOutput, ReadsTheOutputFromTheStartOfTheText)
{
    command("queue=add\nto output=03 and more\nfrom input=1");
    command("queue=add\nto output=4294967298\nfrom input=1");
    EXPECT_EQ(staged(), (Texts{"3<1", "2<1"}));
}

TEST_P(InvalidRouteOutput, StagesNothing)
{
    command("queue=add\nfrom input=1\nto output=" + std::string(GetParam()));
    EXPECT_EQ(staged(), Texts{});
}

INSTANTIATE_TEST_SUITE_P(Texts, InvalidRouteOutput,
                         testing::Values("", "4", "5", "-1", " 2", "+2", "x", "2147483648",
                                         "2147483647", "4294967295", "4294967300",
                                         "99999999999999999999"));

TEST_F(RouteOutput, StagesNothingWithoutAnOutput)
{
    command("queue=add\nfrom input=1");
    EXPECT_EQ(staged(), Texts{});
}

TEST_F(RouteOutput, StagesNothingWhileThereAreNoOutputs)
{
    number_of_outputs = 0;
    command("queue=add\nto output=0\nfrom input=1");
    EXPECT_EQ(staged(), Texts{});
}

TEST_F(RouteOutput, KnowsOneRoutingControlOnly)
{
    command("queue=add\nto output=0\nfrom input=3\ncontrol=all");
    command("queue=add\nto output=1\nfrom input=3\ncontrol=video");
    command("queue=add\nto output=2\nfrom input=3\ncontrol=ALL");
    command("queue=add\nto output=3\nfrom input=3\ncontrol=");
    EXPECT_EQ(staged(), (Texts{"0<3", "1<-1", "2<-1", "3<3"}));
}

TEST_F(RouteOutput, ChangesNothingForAnotherQueue)
{
    command("queue=add\nto output=0\nfrom input=3");
    command("queue=\nto output=1\nfrom input=3");
    command("queue=append\nto output=1\nfrom input=3");
    command("queue=Flush");
    command("queue=discard ");
    EXPECT_EQ(staged(), (Texts{"0<3"}));
    EXPECT_TRUE(pending_route_changes.empty());
}

TEST_F(RouteOutput, FlushMovesTheStagedBehindThePending)
{
    pending_route_changes = {{.input = 0, .output = 3}};
    command("queue=add\nto output=0\nfrom input=3");
    command("queue=add\nto output=0\nfrom input=5");
    command("queue=flush");
    EXPECT_EQ(staged(), Texts{});
    ASSERT_EQ(pending_route_changes.size(), 3U);
    EXPECT_EQ(pending_route_changes[0].output, 3);
    EXPECT_EQ(pending_route_changes[1].input, 3);
    EXPECT_EQ(pending_route_changes[2].input, 5);
}

TEST_F(RouteOutput, FlushSends)
{
    connect_router();
    command("queue=add\nto output=0\nfrom input=3");
    EXPECT_EQ(router_hears(), Texts{});
    command("queue=flush\nto output=99");
    EXPECT_EQ(router_hears(), (Texts{"TI 0 3", "QI 0 0"}));
}

TEST_F(RouteOutput, FlushOfNothingStillSendsWhatIsPending)
{
    connect_router();
    pending_route_changes = {{.input = 0, .output = 3}};
    command("queue=flush");
    EXPECT_EQ(router_hears(), (Texts{"TI 3 0", "QI 3 0"}));
}

TEST_F(RouteOutput, FlushSendsOnceOnly)
{
    connect_router();
    flush_allow_time = FAKE_START_US + 1;
    command("queue=add\nto output=0\nfrom input=3");
    command("queue=flush");
    EXPECT_EQ(diagnostics(), "<DBG>Route changes too soon, will flush later\n");
}

TEST_F(RouteOutput, DiscardForgetsTheStagedAlone)
{
    connect_router();
    pending_route_changes = {{.input = 0, .output = 3}};
    command("queue=add\nto output=0\nfrom input=3");
    command("queue=discard\nto output=x");
    EXPECT_EQ(staged(), Texts{});
    EXPECT_EQ(pending_route_changes.size(), 1U);
    EXPECT_EQ(router_hears(), Texts{});
    EXPECT_EQ(diagnostics(), "");
}

// The record that the handler works on is the channel's and is cleared by the next byte.
TEST_F(RouteOutput, RepliesToAFlushUnderItsOwnIdAfterANestedCommand)
{
    connect_router();
    number_of_outputs = 32;
    for (std::int32_t output = 0; output < 32; ++output)
        staged_route_changes.push_back({.input = 1, .output = output});
    parent_says("*TYPE=command\n*COMMAND=route output\n*ID=outer\nqueue=flush");
    parent_says("*TYPE=command\n*COMMAND=jump\n*ID=inner\nqueue=discard");
    handle_parent_input();
    EXPECT_EQ(parent_hears(),
              "*COMMAND=jump\n*ERROR=Unknown command jump\n*TYPE=reply\n*ID=inner\n\n"
              "*COMMAND=route output\n*TYPE=reply\n*ID=outer\n\n");
    EXPECT_EQ(router_hears().size(), 64U);
}

TEST_F(RouteOutput, KeepsWhatANestedCommandStagesForTheNextFlush)
{
    connect_router();
    staged_route_changes = {{.input = 1, .output = 0}, {.input = 1, .output = 1}};
    ParentRecord flush{.command = "route output",
                       .error = "",
                       .type = "command",
                       .id = "1",
                       .fields = {{"queue", "flush"}}};
    parent_says_at_dispatch(2, "*TYPE=command\n*COMMAND=route output\n*ID=2\nqueue=add\n"
                               "to output=3\nfrom input=2");
    handle_parent_record(flush);
    EXPECT_EQ(router_hears(), (Texts{"TI 0 1", "QI 0 0", "TI 1 1", "QI 1 0"}));
    EXPECT_EQ(staged(), (Texts{"3<2"}));
}

TEST_F(RouteOutput, EmptiesTheStagedBeforeItSends)
{
    connect_router();
    staged_route_changes = {{.input = 1, .output = 0}};
    ParentRecord flush{.command = "route output",
                       .error = "",
                       .type = "command",
                       .id = "1",
                       .fields = {{"queue", "flush"}}};
    parent_says_at_dispatch(1, "*TYPE=command\n*COMMAND=route output\nqueue=flush");
    handle_parent_record(flush);
    EXPECT_EQ(router_hears(), (Texts{"TI 0 1", "QI 0 0"}));
}
