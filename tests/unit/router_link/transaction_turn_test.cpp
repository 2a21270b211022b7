// The turns of a transaction: their order, what ends the reply, commands handled in between; and
// what becomes of routing-status reports.
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/transaction.h"
#include "router_model/state.h"
#include "support/backend_test.h"

namespace {
constexpr us_time_t PAUSE_US = 10'000;
constexpr us_time_t DEADLINE_US = FAKE_START_US + 2'000'000;

// What the parent's next record does, when a test watches for it.
std::function<void()> on_record;

void run_on_record(ParentRecord&)
{
    on_record();
}

class TransactionTurn : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        connect_router();
    }

    void TearDown() override
    {
        on_record = nullptr;
        BackendTest::TearDown();
    }

    void when_dispatched(int n, std::function<void()> event)
    {
        on_record = std::move(event);
        set_parent_record_handler(run_on_record);
        parent_says_at_dispatch(n, "a=b");
    }

    bool ask()
    {
        return do_timeout_send_and_recv(make_request("QD"), response, DEADLINE_US);
    }

    // How many messages a reply takes when these arrive in one piece.
    std::size_t reply_length(const std::vector<router_message>& messages)
    {
        at_us(fake_now_us + 1, [&] {
            router_rx_queue.insert(router_rx_queue.end(), messages.begin(), messages.end());
        });
        EXPECT_TRUE(
            do_timeout_send_and_recv(make_request("QN"), response, fake_now_us + 1'000'000));
        router_rx_queue.clear();
        return response.size();
    }

    std::vector<router_message> response;
};

class RoutingStatus : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        discovered_inputs = 8;
        discovered_outputs = 4;
        number_of_outputs = 300;
    }

    // What a report about this destination and source is turned into.
    static std::string accepted(const std::string& destination, const std::string& source)
    {
        return accepted(received("IQ", {destination, "", "", "", source}));
    }

    static std::string accepted(const router_message& message)
    {
        accepted_route_changes.clear();
        handle_router_message(message);
        if (accepted_route_changes.empty()) return "nothing";
        EXPECT_EQ(accepted_route_changes.size(), 1U);
        return "output " + std::to_string(accepted_route_changes[0].output) + " input " +
               std::to_string(accepted_route_changes[0].input);
    }
};
} // namespace

TEST_F(TransactionTurn, ServesTheParentBeforeTheRouter)
{
    std::optional<SystemCall> before_handling;
    when_dispatched(1, [&] {
        before_handling = last_call(router_fd);
        router_says("DQ");
    });
    EXPECT_TRUE(ask());
    EXPECT_EQ(before_handling, SystemCall::Send) << "the request";
    EXPECT_EQ(fake_now_us, FAKE_START_US);
}

TEST_F(TransactionTurn, DispatchesNothingWhileItDiscardsStaleInput)
{
    router_rx_queue.resize(5);
    us_time_t dispatched = 0;
    when_dispatched(1, [&] { dispatched = fake_now_us; });
    ask();
    EXPECT_EQ(dispatched, FAKE_START_US + 5 * PAUSE_US);
}

TEST_F(TransactionTurn, DispatchesOnEachTurnUntilTheDeadline)
{
    us_time_t dispatched = 0;
    when_dispatched(200, [&] { dispatched = fake_now_us; });
    EXPECT_FALSE(ask());
    EXPECT_EQ(dispatched, DEADLINE_US - PAUSE_US);
}

TEST_F(TransactionTurn, DoesNotDispatchAfterTheDeadline)
{
    bool dispatched = false;
    when_dispatched(201, [&] { dispatched = true; });
    EXPECT_FALSE(ask());
    EXPECT_FALSE(dispatched);
}

TEST_F(TransactionTurn, ReadsTwice)
{
    // One byte more than one read takes.
    router_answers("QD", frame("N0DQ\t" + std::string(4088, 'x')));
    EXPECT_TRUE(ask());
    EXPECT_EQ(fake_now_us, FAKE_START_US + PAUSE_US);
}

TEST_F(TransactionTurn, DoesNotPauseBetweenMessagesThatAreThere)
{
    router_answers("QD", frame(body("DQ", {"A"}, '1')) + frame(body("DQ", {"B"}, '1')) +
                             frame(body("DQ", {"C"})));
    EXPECT_TRUE(ask());
    EXPECT_EQ(fake_now_us, FAKE_START_US + PAUSE_US);
}

TEST_F(TransactionTurn, AnswersACommandOfTheParentMeanwhile)
{
    install_commands();
    parent_says("*COMMAND=report\n*TYPE=command\n*ID=7\nwhat=inputs");
    std::string heard;
    at_us(DEADLINE_US - 2 * PAUSE_US, [&] {
        heard = parent_hears();
        router_says("DQ");
    });
    EXPECT_TRUE(ask());
    EXPECT_EQ(heard, "*TYPE=reply\n*ID=7\n\n");
    EXPECT_EQ(response.size(), 1U);
}

TEST_F(TransactionTurn, GoesOnAfterAMessageWithAnotherSeq)
{
    for (const char seq : {'1', '9', 'A', ' ', '\xFF'})
        EXPECT_EQ(reply_length({received("NQ", {}, seq), received("NQ")}), 2U);
}

TEST_F(TransactionTurn, EndsAtSeqZeroOrNul)
{
    EXPECT_EQ(reply_length({received("NQ", {}, '0'), received("NQ")}), 1U);
    router_message nul = received("NQ");
    nul.seq = '\0';
    EXPECT_EQ(reply_length({nul, received("NQ")}), 1U);
}

TEST_F(TransactionTurn, Keeps4096MessagesOfALongerReply)
{
    std::vector<router_message> messages(4100, received("DQ", {}, '1'));
    messages.push_back(received("DQ"));
    EXPECT_EQ(reply_length(messages), 4096U);
}

TEST_F(TransactionTurn, EndsAtAMessageThatIsNotGood)
{
    router_message bad = received("NQ", {}, '1');
    bad.ok = false;
    EXPECT_EQ(reply_length({bad, received("NQ")}), 1U);
}

TEST_F(TransactionTurn, EndsAtAnAckOrNak)
{
    router_message ack = received("NQ", {}, '1');
    ack.ack = true;
    EXPECT_EQ(reply_length({ack, received("NQ")}), 1U);
    router_message nak = received("NQ", {}, '1');
    nak.nak = true;
    EXPECT_EQ(reply_length({nak, received("NQ")}), 1U);
}

TEST_F(TransactionTurn, EndsAtAMessageUnlikeTheFirst)
{
    const router_message first = received("NQ", {}, '1');
    EXPECT_EQ(reply_length({first, received("DQ", {}, '1'), first}), 2U);
    router_message foreign = first;
    foreign.protocol = 'X';
    EXPECT_EQ(reply_length({first, foreign, first}), 2U);
    EXPECT_EQ(reply_length({first, first, received("NR", {}, '1'), first}), 3U);
}

TEST_F(TransactionTurn, UsesAStatusReportThatEndsTheReply)
{
    discovered_inputs = discovered_outputs = number_of_outputs = 4;
    router_answers("QD", frame(body("IQ", {"1", "", "", "", "2"})));
    EXPECT_TRUE(ask());
    EXPECT_EQ(response.size(), 1U);
    ASSERT_EQ(accepted_route_changes.size(), 1U);
    EXPECT_EQ(accepted_route_changes[0].output, 1);
    EXPECT_EQ(accepted_route_changes[0].input, 2);
}

TEST_F(RoutingStatus, LogsEveryOtherMessage)
{
    EXPECT_EQ(accepted(received("DQ", {"1", "", "", "", "2"})), "nothing");
    const std::string raw = received("DQ", {"1", "", "", "", "2"}).raw;
    EXPECT_EQ(diagnostics(), "<DBG>Router message(raw): '" + raw +
                                 "' [OK] request=DQ protocol=N seq=0 param=1,,,,2\n");
}

TEST_F(RoutingStatus, LogsABareNakUpToItsNul)
{
    router_message nak;
    nak.nak = true;
    nak.nakerr = 0x12;
    nak.raw = "0012";
    handle_router_message(nak);
    EXPECT_EQ(diagnostics(), "<DBG>Router message(raw): '0012' [NAK] request= protocol=\n");
}

TEST_F(RoutingStatus, IsNotReadFromALikeMessage)
{
    for (const char* const mnemonic : {"IX", "XQ"})
        handle_router_message(received(mnemonic, {"1", "", "", "", "0"}));
    EXPECT_TRUE(accepted_route_changes.empty());
}

TEST_F(RoutingStatus, IsAcceptedAndNotLogged)
{
    EXPECT_EQ(accepted("2", "5"), "output 2 input 5");
    EXPECT_EQ(diagnostics(), "<DBG>Accepting route change output=2 input=5\n");
}

TEST_F(RoutingStatus, ReadsItsNumbersAsHexadecimal)
{
    discovered_inputs = discovered_outputs = 256;
    EXPECT_EQ(accepted("1f", "2A"), "output 31 input 42");
    EXPECT_EQ(accepted("0x10", " 11"), "output 16 input 17");
    EXPECT_EQ(accepted("", "zz"), "output 0 input 0");
}

TEST_F(RoutingStatus, IsIgnoredWhenNotGoodOrTooShort)
{
    router_message bad = received("IQ", {"1", "", "", "", "2"});
    bad.ok = false;
    EXPECT_EQ(accepted(bad), "nothing");
    EXPECT_EQ(accepted(received("IQ", {"1", "", "", "2"})), "nothing");
    EXPECT_EQ(accepted(received("IQ", {"1", "", "", "", "2", "3"})), "output 1 input 2");
    EXPECT_EQ(diagnostics(), "<DBG>Accepting route change output=1 input=2\n");
}

TEST_F(RoutingStatus, CountsFromTheIndexBases)
{
    output_index_base = 3;
    input_index_base = 5;
    EXPECT_EQ(accepted("3", "5"), "output 0 input 0");
    EXPECT_EQ(accepted("6", "C"), "output 3 input 7");
}

TEST_F(RoutingStatus, IsIgnoredOutsideTheDiscoveredOutputs)
{
    output_index_base = 3;
    EXPECT_EQ(accepted("2", "0"), "nothing");
    EXPECT_EQ(accepted("0", "0"), "nothing");
    EXPECT_EQ(accepted("7", "0"), "nothing");
    EXPECT_EQ(accepted("FFFFFFFFFFFFFFFF", "0"), "nothing");
    EXPECT_EQ(diagnostics(), "");
}

TEST_F(RoutingStatus, IsIgnoredOutsideTheDiscoveredInputs)
{
    input_index_base = 5;
    EXPECT_EQ(accepted("1", "4"), "nothing");
    EXPECT_EQ(accepted("1", "0"), "nothing");
    EXPECT_EQ(accepted("1", "D"), "nothing");
    EXPECT_EQ(diagnostics(), "");
}

TEST_F(RoutingStatus, MeansNoSourceAtTheBaseWhileNoSourceIsKnown)
{
    discovered_inputs = 0;
    input_index_base = 5;
    EXPECT_EQ(accepted("1", "5"), "output 1 input -1");
    EXPECT_EQ(accepted("1", "4"), "nothing");
    EXPECT_EQ(accepted("1", "6"), "nothing");
    EXPECT_EQ(accepted("1", "0"), "nothing");
    input_index_base = 0;
    EXPECT_EQ(accepted("1", "0"), "nothing");
}
