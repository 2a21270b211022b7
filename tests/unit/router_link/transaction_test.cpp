// A request and its reply: what is thrown away, what is collected, when it ends.
#include <algorithm>
#include <cerrno>
#include <sys/socket.h>

#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/transaction.h"
#include "router_model/state.h"
#include "support/backend_test.h"
#include "support/message_fields.h"

namespace {
constexpr us_time_t PAUSE_US = 10'000;
constexpr us_time_t DEADLINE_US = FAKE_START_US + 2'000'000;

const std::string CLOSED = "<NOTE>Connection to router closed\n";
const std::string TIMED_OUT = "<ERR>Timeout receiving message\n" + CLOSED;
const std::string UNABLE = "<ERR>Unable to send message\n";
const std::string QD_REQUEST = "<DBG>Send to router: \x01N0QDED\x04\n";

class Transaction : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        connect_router();
    }

    bool ask(const router_message& request, us_time_t deadline = DEADLINE_US)
    {
        return do_timeout_send_and_recv(request, response, deadline);
    }

    // Asks for changed destinations while the router answers these bytes. Returns the raw of all
    // that is collected; "failed" in front when the transaction does.
    std::vector<std::string> reply_to_qd(const std::string& bytes)
    {
        router_answers("QD", bytes);
        return collected(ask(make_request("QD")));
    }

    // The same for source names.
    std::vector<std::string> reply_to_qn(const std::string& bytes)
    {
        router_answers("QN IS", bytes);
        return collected(ask(make_request("QN", {"IS"})));
    }

    std::vector<std::string> collected(bool succeeded)
    {
        std::vector<std::string> raws;
        if (!succeeded) raws.emplace_back("failed");
        for (const router_message& message : response)
            raws.push_back(message.raw);
        return raws;
    }

    std::vector<router_message> response;
};

using Raws = std::vector<std::string>;

std::string framed(std::string_view mnemonic, const std::vector<std::string>& parameters,
                   char seq = '0')
{
    return frame(body(mnemonic, parameters, seq));
}

std::string raw_of(std::string_view mnemonic, const std::vector<std::string>& parameters,
                   char seq = '0')
{
    return received(mnemonic, parameters, seq).raw;
}

std::size_t pauses()
{
    return static_cast<std::size_t>(
        std::count_if(recorded_waits.begin(), recorded_waits.end(),
                      [](const recorded_wait& wait) { return wait.is_pause; }));
}
} // namespace

TEST_F(Transaction, CollectsASingleReply)
{
    EXPECT_EQ(reply_to_qd(framed("DQ", {"A", "B"})), Raws{raw_of("DQ", {"A", "B"})});
    EXPECT_EQ(router_hears(), Raws{"QD"});
    EXPECT_EQ(fields(response[0]), fields(received("DQ", {"A", "B"})));
    EXPECT_EQ(fake_now_us, FAKE_START_US + PAUSE_US);
    EXPECT_TRUE(router_rx_queue.empty());
}

TEST_F(Transaction, CollectsAReplyOfSeveralMessages)
{
    EXPECT_EQ(
        reply_to_qd(framed("DQ", {"A"}, '1') + framed("DQ", {"B"}, '1') + framed("DQ", {"C"})),
        (Raws{raw_of("DQ", {"A"}, '1'), raw_of("DQ", {"B"}, '1'), raw_of("DQ", {"C"})}));
}

TEST_F(Transaction, LeavesWhatFollowsTheReplyInTheQueue)
{
    reply_to_qd(framed("DQ", {"A"}) + framed("DQ", {"B"}));
    ASSERT_EQ(router_rx_queue.size(), 1U);
    EXPECT_EQ(router_rx_queue[0].parameters, Raws{"B"});
}

TEST_F(Transaction, WaitsForTheRestOfAReply)
{
    router_answers("QD", framed("DQ", {"A"}, '1'));
    at_us(FAKE_START_US + 1'500'000, [this] { router_says("DQ", {"B"}); });
    EXPECT_TRUE(ask(make_request("QD")));
    EXPECT_EQ(response.size(), 2U);
    EXPECT_EQ(fake_now_us, FAKE_START_US + 1'500'000);
}

TEST_F(Transaction, LogsEachCollectedMessage)
{
    reply_to_qd(framed("DQ", {"A"}, '1') + framed("DQ", {"B"}));
    const std::string first = raw_of("DQ", {"A"}, '1');
    const std::string second = raw_of("DQ", {"B"});
    EXPECT_EQ(diagnostics(), QD_REQUEST + "<DBG>Router: MSG " + first + "\n<DBG>Router: MSG " +
                                 second + "\n<DBG>Router message(raw): '" + first +
                                 "' [OK] request=DQ protocol=N seq=1 param=A\n"
                                 "<DBG>Router message(raw): '" +
                                 second + "' [OK] request=DQ protocol=N seq=0 param=B\n");
}

TEST_F(Transaction, EndsWithANak)
{
    EXPECT_EQ(reply_to_qd("\x15"
                          "0012\x04"),
              Raws{"0012"});
    EXPECT_TRUE(response[0].nak);
    EXPECT_EQ(response[0].nakerr, 0x12);
}

TEST_F(Transaction, SkipsAnAckWithAPause)
{
    EXPECT_EQ(reply_to_qd("\x06" + framed("DQ", {})), Raws{raw_of("DQ", {})});
    EXPECT_EQ(pauses(), 2U);
}

TEST_F(Transaction, SkipsANakWithoutAnyDigit)
{
    EXPECT_EQ(reply_to_qd("\x15\x04" + framed("DQ", {})), Raws{raw_of("DQ", {})});
    EXPECT_EQ(pauses(), 2U);
}

TEST_F(Transaction, EmptiesTheResponseEvenWhenItCannotSend)
{
    response = {received("DQ")};
    close_router_connection();
    diagnostics();
    EXPECT_FALSE(ask(make_request("QD")));
    EXPECT_EQ(diagnostics(), UNABLE);
    EXPECT_TRUE(response.empty());
    EXPECT_EQ(fake_now_us, FAKE_START_US);
}

TEST_F(Transaction, ClosesWhenItCannotSendWhileConnecting)
{
    on_fake_wait = nullptr;
    const std::string filling(65536, 'x');
    while (send(router_fd, filling.data(), filling.size(), MSG_DONTWAIT) > 0) {
    }
    connect_in_progress = true;
    EXPECT_FALSE(ask(make_request("QD")));
    EXPECT_EQ(diagnostics(), UNABLE + CLOSED);
    EXPECT_EQ(router_fd, -1);
}

TEST_F(Transaction, ClosesWhenTheRequestIsTooLong)
{
    EXPECT_FALSE(ask(make_request("QD", {std::string(1010, 'x')})));
    EXPECT_EQ(diagnostics(), UNABLE + CLOSED);
    EXPECT_EQ(router_fd, -1);
}

TEST_F(Transaction, ThrowsAwayWhatCameBefore)
{
    router_rx_queue.push_back(received("DQ", {"1"}));
    router_says("DQ", {"2"});
    at_us(FAKE_START_US + 1, [this] { router_says("DQ", {"3"}); });
    EXPECT_EQ(reply_to_qd(framed("DQ", {"4"})), Raws{raw_of("DQ", {"4"})});
    // Three messages at 10 ms each, then the wait for the answer.
    EXPECT_EQ(fake_now_us, FAKE_START_US + 4 * PAUSE_US);
    EXPECT_EQ(diagnostics().find("Router message(raw): '" + raw_of("DQ", {"1"})),
              std::string::npos);
}

TEST_F(Transaction, DoesNotUseAStatusReportThatCameBefore)
{
    discovered_outputs = number_of_outputs = discovered_inputs = 4;
    router_says("IQ", {"1", "", "", "", "2"});
    reply_to_qd(framed("DQ", {}));
    EXPECT_TRUE(accepted_route_changes.empty());
}

TEST_F(Transaction, CountsStaleInputAgainstTheDeadline)
{
    router_rx_queue.resize(150);
    EXPECT_FALSE(ask(make_request("QD")));
    EXPECT_EQ(diagnostics(), QD_REQUEST + TIMED_OUT);
    EXPECT_EQ(fake_now_us, DEADLINE_US);
    EXPECT_EQ(pauses(), 200U);
}

TEST_F(Transaction, IsNotHeldUpByStaleInputBeyondTheDeadline)
{
    router_rx_queue.resize(1000);
    EXPECT_FALSE(ask(make_request("QD")));
    EXPECT_EQ(fake_now_us, DEADLINE_US);
    EXPECT_TRUE(router_rx_queue.empty()) << "the next connection must not meet the rest";
    EXPECT_EQ(diagnostics(), QD_REQUEST + TIMED_OUT);
}

TEST_F(Transaction, TimesOutExactlyAtTheDeadline)
{
    EXPECT_FALSE(ask(make_request("QD")));
    EXPECT_EQ(fake_now_us, DEADLINE_US);
    EXPECT_EQ(diagnostics(), QD_REQUEST + TIMED_OUT);
    EXPECT_EQ(router_fd, -1);
    EXPECT_TRUE(response.empty());
}

TEST_F(Transaction, LooksAtTheDeadlineEachTenMilliseconds)
{
    EXPECT_FALSE(ask(make_request("QD"), FAKE_START_US + 1));
    EXPECT_EQ(fake_now_us, FAKE_START_US + PAUSE_US);
    connect_router();
    const us_time_t now = fake_now_us;
    EXPECT_FALSE(ask(make_request("QD"), now));
    EXPECT_EQ(fake_now_us, now);
    EXPECT_EQ(router_hears(), (Raws{"QD", "QD"}));
}

TEST_F(Transaction, AcceptsAnAnswerOneTurnBeforeTheDeadlineAndNotAtIt)
{
    at_us(DEADLINE_US - PAUSE_US, [this] { router_says("DQ"); });
    EXPECT_TRUE(ask(make_request("QD")));
    fake_now_us = FAKE_START_US;
    at_us(DEADLINE_US, [this] { router_says("DQ"); });
    EXPECT_FALSE(ask(make_request("QD")));
}

TEST_F(Transaction, KeepsTheDeadlineWhenTheReplyNeverEnds)
{
    std::function<void()> say_more = [&] {
        if (fake_now_us >= DEADLINE_US + 1'000'000) return;
        router_says("DQ", {"A"}, '1');
        at_us(fake_now_us + PAUSE_US, say_more);
    };
    at_us(FAKE_START_US + PAUSE_US, say_more);
    EXPECT_FALSE(ask(make_request("QD")));
    EXPECT_EQ(fake_now_us, DEADLINE_US);
    EXPECT_EQ(response.size(), 199U);
    EXPECT_EQ(router_fd, -1);
}

TEST_F(Transaction, WaitsOnToTheDeadlineWithoutAConnection)
{
    at_us(FAKE_START_US + 500'000, [this] { router_closes(); });
    EXPECT_FALSE(ask(make_request("QD")));
    EXPECT_EQ(diagnostics(), QD_REQUEST + "<NOTE>Connection suddenly dropped\n" + CLOSED +
                                 "<ERR>Timeout receiving message\n");
    EXPECT_EQ(fake_now_us, DEADLINE_US);
}

TEST_F(Transaction, WaitsOnWhenTheWriteFailed)
{
    force_result(SystemCall::Send, router_fd, -1, ECONNRESET);
    EXPECT_FALSE(ask(make_request("QD")));
    EXPECT_EQ(diagnostics(), "<NOTE>Connection problem, Connection reset by peer\n" + CLOSED +
                                 QD_REQUEST + "<ERR>Timeout receiving message\n");
    EXPECT_EQ(fake_now_us, DEADLINE_US);
}

TEST_F(Transaction, DropsTheErrorReplyToAnEarlierStatusRequest)
{
    const std::string late = framed("ER", {"00", "QD"});
    EXPECT_EQ(reply_to_qn(late + late + framed("NQ", {"S"})), Raws{raw_of("NQ", {"S"})});
    EXPECT_EQ(pauses(), 1U);
    EXPECT_EQ(diagnostics().find("Router message(raw): '" + raw_of("ER", {"00", "QD"})),
              std::string::npos);
}

TEST_F(Transaction, AcceptsAnErrorReplyToItsOwnStatusRequest)
{
    EXPECT_EQ(reply_to_qd(framed("ER", {"00", "QD"})), Raws{raw_of("ER", {"00", "QD"})});
}

TEST_F(Transaction, DropsNoOtherMessage)
{
    const std::vector<std::pair<std::string, Raws>> kept = {
        {"ER", {"05", "QD"}},       {"ER", {"00"}},
        {"ER", {"00", "QN"}},       {"ER", {"00", "QDX"}},
        {"ER", {"00", "QN", "QD"}}, {"NQ", {"00", "QD"}}};
    for (const auto& message : kept) {
        at_us(fake_now_us + 1, [&] { router_says(message.first, message.second); });
        EXPECT_TRUE(ask(make_request("QN"), fake_now_us + 1'000'000));
        EXPECT_EQ(collected(true), Raws{raw_of(message.first, message.second)});
    }
}

TEST_F(Transaction, DropsNoStatusErrorOnceTheReplyHasBegun)
{
    EXPECT_EQ(reply_to_qn(framed("NQ", {"S"}, '1') + framed("ER", {"00", "QD"})),
              (Raws{raw_of("NQ", {"S"}, '1'), raw_of("ER", {"00", "QD"})}));
}
