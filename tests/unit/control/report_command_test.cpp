#include "common/loop_flags.h"
#include "control/commands.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_model/route_queue.h"
#include "support/backend_test.h"

namespace {
class ReportCommand : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        install_commands();
        connect_router();
    }

    void ask_for_outputs()
    {
        parent_says(ASK);
        handle_parent_input();
    }

    // An ask that the handler is given straight, so that the channel is free for another record.
    static void ask_for_outputs_directly()
    {
        ParentRecord record{.command = "report",
                            .error = "",
                            .type = "command",
                            .id = "outer",
                            .fields = {{"what", "outputs"}}};
        handle_parent_record(record);
    }

    static constexpr const char* ASK = "*TYPE=command\n*COMMAND=report\n*ID=5\nwhat=outputs";
};

using Requests = std::vector<std::string>;

const std::string REPLY = "*TYPE=reply\n*ID=5\n\n";
const std::string OUTER_REPLY = "*TYPE=reply\n*ID=outer\n\n";
} // namespace

TEST_F(ReportCommand, QueriesEveryOutputNumberedFromOne)
{
    number_of_outputs = 16;
    output_index_base = 4;
    ask_for_outputs();
    EXPECT_EQ(router_hears(), (Requests{"QI 1 0", "QI 2 0", "QI 3 0", "QI 4 0", "QI 5 0", "QI 6 0",
                                        "QI 7 0", "QI 8 0", "QI 9 0", "QI A 0", "QI B 0", "QI C 0",
                                        "QI D 0", "QI E 0", "QI F 0", "QI 10 0"}));
    EXPECT_EQ(parent_hears(), REPLY);
}

TEST_F(ReportCommand, SendsTheExactBytes)
{
    number_of_outputs = 1;
    ask_for_outputs();
    EXPECT_EQ(router_hears_bytes(), frame(body("QI", {"1", "0"})));
    EXPECT_EQ(diagnostics(), "<DBG>Send to router: " + frame(body("QI", {"1", "0"})) + "\n");
}

TEST_F(ReportCommand, AnswersOnlyWithoutOutputs)
{
    ask_for_outputs();
    EXPECT_EQ(router_hears(), Requests{});
    EXPECT_EQ(parent_hears(), REPLY);
}

TEST_F(ReportCommand, QueriesNothingWithoutAConnection)
{
    number_of_outputs = 2;
    close_router_connection();
    diagnostics();
    ask_for_outputs();
    EXPECT_EQ(parent_hears(), REPLY);
    EXPECT_EQ(diagnostics(), "");
}

TEST_F(ReportCommand, QueriesNothingWhileConnecting)
{
    number_of_outputs = 2;
    connect_in_progress = true;
    router_says("IQ");
    ask_for_outputs();
    EXPECT_EQ(router_hears(), Requests{});
    EXPECT_EQ(parent_hears(), REPLY);
    EXPECT_TRUE(router_rx_queue.empty()) << "the connection is not served either";
}

TEST_F(ReportCommand, QueriesNothingWhileDiscoveryIsDue)
{
    number_of_outputs = 2;
    discovery_needed = true;
    ask_for_outputs();
    EXPECT_EQ(router_hears(), Requests{});
    EXPECT_EQ(parent_hears(), REPLY);
}

TEST_F(ReportCommand, QueriesNothingForInputs)
{
    number_of_inputs = 2;
    number_of_outputs = 2;
    parent_says("*TYPE=command\n*COMMAND=report\n*ID=5\nwhat=inputs");
    handle_parent_input();
    EXPECT_EQ(router_hears(), Requests{});
    EXPECT_EQ(parent_hears(), REPLY);
    EXPECT_FALSE(inputs_report_pending);
}

TEST_F(ReportCommand, ServesTheRouterBeforeEachQuery)
{
    number_of_outputs = 1;
    router_says("IQ", {"0", "0", "0", "0", "0"});
    ask_for_outputs();
    EXPECT_EQ(router_rx_queue.size(), 1U);
    EXPECT_TRUE(accepted_route_changes.empty());
}

TEST_F(ReportCommand, ServesTheRouterBeforeTheParentEachTime)
{
    number_of_outputs = 3;
    static std::optional<SystemCall> before_handling;
    set_parent_record_handler([](ParentRecord&) { before_handling = last_call(router_fd); });
    for (int dispatch = 1; dispatch <= 3; ++dispatch) {
        before_handling.reset();
        parent_says_at_dispatch(dispatch, "*TYPE=command\n*COMMAND=x");
        ask_for_outputs_directly();
        EXPECT_EQ(before_handling, SystemCall::Read) << "not the query before";
    }
}

TEST_F(ReportCommand, ReadsOneParentRecordBeforeEachQuery)
{
    number_of_outputs = 3;
    const char* const heard_before[] = {"TI 1 2", "QI 1 0"};
    for (int dispatch = 1; dispatch <= 3; ++dispatch) {
        flush_allow_time = 0;
        staged_route_changes = {{.input = 2, .output = 1}};
        parent_says_at_dispatch(dispatch, "*TYPE=command\n*COMMAND=route output\nqueue=flush");
        ask_for_outputs_directly();
        Requests expected = {"QI 1 0", "QI 2 0", "QI 3 0"};
        expected.insert(expected.begin() + dispatch - 1, std::begin(heard_before),
                        std::end(heard_before));
        EXPECT_EQ(router_hears(), expected) << dispatch;
        EXPECT_EQ(parent_hears(), "*COMMAND=route output\n*TYPE=reply\n\n" + OUTER_REPLY);
    }
}

TEST_F(ReportCommand, ReadsTheCountAgainForEachQuery)
{
    number_of_outputs = 3;
    set_parent_record_handler([](ParentRecord&) { number_of_outputs = 5; });
    parent_says_at_dispatch(3, "*TYPE=command\n*COMMAND=x");
    ask_for_outputs_directly();
    EXPECT_EQ(router_hears(), (Requests{"QI 1 0", "QI 2 0", "QI 3 0", "QI 4 0", "QI 5 0"}));

    set_parent_record_handler([](ParentRecord&) { number_of_outputs = 2; });
    parent_says_at_dispatch(2, "*TYPE=command\n*COMMAND=x");
    ask_for_outputs_directly();
    EXPECT_EQ(router_hears(), (Requests{"QI 1 0", "QI 2 0"}));
}

TEST_F(ReportCommand, AnswersTheNestedCommandFirst)
{
    number_of_outputs = 2;
    parent_says_at_dispatch(2, ASK);
    ask_for_outputs_directly();
    EXPECT_EQ(router_hears(), (Requests{"QI 1 0", "QI 1 0", "QI 2 0", "QI 2 0"}));
    EXPECT_EQ(parent_hears(), REPLY + OUTER_REPLY);
}

// The record that the handler works on is the channel's and is cleared by the next byte.
TEST_F(ReportCommand, RepliesUnderItsOwnIdAfterANestedCommand)
{
    number_of_outputs = 32;
    parent_says("*TYPE=command\n*COMMAND=report\n*ID=outer\nwhat=outputs");
    parent_says("*TYPE=command\n*COMMAND=report\n*ID=5\nwhat=inputs");
    handle_parent_input();
    EXPECT_EQ(parent_hears(), REPLY + OUTER_REPLY);
    EXPECT_EQ(router_hears().size(), 32U);
}

TEST_F(ReportCommand, RunsOverAllOutputsWhenTheConnectionDrops)
{
    number_of_outputs = 3;
    router_closes();
    parent_says_at_dispatch(3, "*TYPE=command\n*COMMAND=jump");
    ask_for_outputs_directly();
    EXPECT_EQ(diagnostics(),
              "<NOTE>Connection suddenly dropped\n<NOTE>Connection to router closed\n");
    EXPECT_EQ(parent_hears(),
              "*COMMAND=jump\n*ERROR=Unknown command jump\n*TYPE=reply\n\n" + OUTER_REPLY);
}
