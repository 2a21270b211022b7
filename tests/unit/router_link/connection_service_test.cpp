// One service call: progress, reading, writing and the silence limit, in this order.
#include <cerrno>
#include <sys/socket.h>

#include "common/loop_flags.h"
#include "frame/settings.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "support/backend_test.h"
#include "support/message_fields.h"

namespace {
constexpr us_time_t SILENCE_US = 20'000'000;

const std::string QD_FRAME = "\x01N0QDED\x04";
const std::string DROPPED = "<NOTE>Connection suddenly dropped\n"
                            "<NOTE>Connection to router closed\n";

class ConnectionService : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        connect_router();
    }

    // A connection whose outcome is not yet known, until the router reads.
    void make_link_unwritable()
    {
        on_fake_wait = nullptr; // the router reads when told to
        const std::string filling(65536, 'x');
        while (send(router_fd, filling.data(), filling.size(), MSG_DONTWAIT) > 0) {
        }
        connect_in_progress = true;
    }

    void router_reads()
    {
        char bytes[65536];
        while (recv(router_end, bytes, sizeof bytes, MSG_DONTWAIT) > 0) {
        }
    }

    std::size_t reads()
    {
        return call_count(SystemCall::Read, router_fd);
    }
    std::size_t sends()
    {
        return call_count(SystemCall::Send, router_fd);
    }
};
} // namespace

TEST_F(ConnectionService, DoesNothingWithoutAConnection)
{
    close_router_connection();
    diagnostics();
    router_ip_address = "127.0.0.1";
    fake_now_us = last_router_activity + 2 * SILENCE_US;
    service_router_connection();
    receive_from_router();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(call_count(SystemCall::Socket, ANY_DESCRIPTOR), 0U);
    EXPECT_EQ(call_count(SystemCall::Read, -1), 0U);
}

TEST_F(ConnectionService, ReadsOnceAndAtMost4096Bytes)
{
    router_says_bytes(std::string(5000, '\x06'));
    service_router_connection();
    EXPECT_EQ(reads(), 1U);
    EXPECT_EQ(greatest_length(SystemCall::Read, router_fd), 4096U);
    EXPECT_EQ(router_rx_queue.size(), 4096U);
}

TEST_F(ConnectionService, ClosesAtTheEndOfTheStream)
{
    router_closes();
    service_router_connection();
    EXPECT_EQ(diagnostics(), DROPPED);
    EXPECT_EQ(router_fd, -1);
}

TEST_F(ConnectionService, WaitsOnWhenThereIsNothingToRead)
{
    service_router_connection();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_GE(router_fd, 0);
    EXPECT_EQ(sends(), 0U);
}

TEST_F(ConnectionService, ClosesAfterAReadError)
{
    force_result(SystemCall::Read, router_fd, -1, ECONNRESET);
    service_router_connection();
    EXPECT_EQ(diagnostics(), "<NOTE>Connection problem, Connection reset by peer\n"
                             "<NOTE>Connection to router closed\n");
    EXPECT_EQ(router_fd, -1);
}

TEST_F(ConnectionService, TreatsAnInterruptedReadAsAnError)
{
    force_result(SystemCall::Read, router_fd, -1, EINTR);
    service_router_connection();
    EXPECT_EQ(diagnostics(), "<NOTE>Connection problem, Interrupted system call\n"
                             "<NOTE>Connection to router closed\n");
}

TEST_F(ConnectionService, WritesWhatWaits)
{
    router_tx_buffer = "abcdef";
    router_tx_offset = 2;
    service_router_connection();
    EXPECT_EQ(router_hears_bytes(), "cdef");
    EXPECT_EQ(router_tx_buffer, "");
    EXPECT_EQ(router_tx_offset, 0U);
    EXPECT_EQ(diagnostics(), "");
}

TEST_F(ConnectionService, ReadsBeforeItWrites)
{
    router_tx_buffer = "abc";
    const int descriptor = router_fd;
    router_closes();
    service_router_connection();
    EXPECT_EQ(diagnostics(), DROPPED);
    EXPECT_EQ(call_count(SystemCall::Send, descriptor), 0U);
}

TEST_F(ConnectionService, ChecksProgressBeforeItReads)
{
    make_link_unwritable();
    service_router_connection();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_TRUE(connect_in_progress);
    EXPECT_EQ(recorded_waits.back().duration, 1'000U);
    router_reads();
    router_says_bytes("\x06");
    service_router_connection();
    EXPECT_EQ(diagnostics(), "<NOTE>Connection sucessful.\n<DBG>Router: ACK\n");
    EXPECT_FALSE(connect_in_progress);
    EXPECT_TRUE(discovery_needed);
}

TEST_F(ConnectionService, ReadsWhileConnecting)
{
    make_link_unwritable();
    router_says_bytes("\x06");
    service_router_connection();
    EXPECT_EQ(diagnostics(), "<DBG>Router: ACK\n");
}

TEST_F(ConnectionService, NeverStartsAnAttempt)
{
    router_ip_address = "127.0.0.1";
    router_closes();
    service_router_connection();
    EXPECT_EQ(router_fd, -1);
    connect_router();
    connect_in_progress = true;
    force_result(SystemCall::Read, router_fd, 0);
    service_router_connection();
    EXPECT_EQ(router_fd, -1);
    EXPECT_EQ(call_count(SystemCall::Socket, ANY_DESCRIPTOR), 0U);
}

TEST_F(ConnectionService, DoesNotWaitOnceConnected)
{
    service_router_connection();
    EXPECT_TRUE(recorded_waits.empty());
}

TEST_F(ConnectionService, ClosesAfterExactly20SecondsOfSilence)
{
    fake_now_us = last_router_activity + SILENCE_US - 1;
    service_router_connection();
    EXPECT_EQ(diagnostics(), "");
    ++fake_now_us;
    service_router_connection();
    EXPECT_EQ(diagnostics(), "<WARN>Connection timeout\n<NOTE>Connection to router closed\n");
    EXPECT_EQ(router_fd, -1);
}

TEST_F(ConnectionService, EndsASilentAttemptToo)
{
    make_link_unwritable();
    const us_time_t end = last_router_activity + SILENCE_US;
    fake_now_us = end - 1'001;
    service_router_connection(); // one millisecond passes
    EXPECT_EQ(diagnostics(), "");
    fake_now_us = end - 1'000;
    service_router_connection();
    EXPECT_EQ(diagnostics(), "<WARN>Connection timeout\n<NOTE>Connection to router closed\n");
    EXPECT_TRUE(connect_in_progress);
}

TEST_F(ConnectionService, IsNotTimedOutByAFrameAtTheLastMoment)
{
    fake_now_us = last_router_activity + SILENCE_US;
    router_says_bytes(QD_FRAME);
    service_router_connection();
    EXPECT_EQ(diagnostics(), "<DBG>Router: MSG N0QDED\n");
    EXPECT_GE(router_fd, 0);
}

TEST_F(ConnectionService, WritesBeforeItTimesOut)
{
    fake_now_us = last_router_activity + SILENCE_US;
    router_tx_buffer = "abc";
    service_router_connection();
    EXPECT_EQ(router_hears_bytes(), "abc");
    EXPECT_EQ(router_fd, -1);
}

TEST_F(ConnectionService, ReportsSilenceAlsoWhenItHasJustClosed)
{
    fake_now_us = last_router_activity + SILENCE_US;
    router_closes();
    service_router_connection();
    EXPECT_EQ(diagnostics(), DROPPED + "<WARN>Connection timeout\n");
}

TEST_F(ConnectionService, ReadsNothingIntoAFullQueue)
{
    router_rx_queue.resize(4096);
    router_closes();
    service_router_connection();
    EXPECT_EQ(reads(), 0U);
    EXPECT_EQ(diagnostics(), "");
    router_rx_queue.pop_front();
    service_router_connection();
    EXPECT_EQ(diagnostics(), DROPPED);
}

TEST_F(ConnectionService, CountsNoSilenceWhileItDoesNotListen)
{
    router_rx_queue.resize(4096);
    advance_us(20'000'000);
    service_router_connection();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_GE(router_fd, 0);
    EXPECT_EQ(last_router_activity, FAKE_START_US + 20'000'000);
}

TEST_F(ConnectionService, LeavesAFloodInTheSocketAndLosesNothing)
{
    constexpr std::size_t FLOOD = 12'000;
    router_says_bytes(std::string(FLOOD, '\x06') + QD_FRAME);
    for (int i = 0; i < 10; ++i)
        service_router_connection();
    EXPECT_LE(router_rx_queue.size(), 2U * 4096);
    std::size_t received = 0;
    for (; !router_rx_queue.empty() && router_rx_queue.front().ack; ++received) {
        router_rx_queue.pop_front();
        receive_from_router();
    }
    EXPECT_EQ(received, FLOOD);
    ASSERT_EQ(router_rx_queue.size(), 1U);
    EXPECT_EQ(router_rx_queue.front().raw, "N0QDED");
}

TEST_F(ConnectionService, CloseForgetsWhatIsHalfDone)
{
    discovery_needed = true;
    router_tx_buffer = "abcdef";
    router_tx_offset = 2;
    parse_router_bytes("\x06\x01N0QD");
    diagnostics();
    close_router_connection();
    EXPECT_EQ(diagnostics(), "<NOTE>Connection to router closed\n");
    EXPECT_EQ(router_fd, -1);
    EXPECT_FALSE(discovery_needed);
    EXPECT_EQ(parse_state, ParseState::Idle);
    EXPECT_EQ(fields(incoming_message), fields(router_message{}));
    EXPECT_EQ(router_tx_buffer, "");
    EXPECT_EQ(router_tx_offset, 0U);
}

TEST_F(ConnectionService, CloseLeavesMessagesAndTimesAlone)
{
    router_rx_queue.resize(3);
    connect_in_progress = true;
    next_connect_attempt = 17;
    last_router_activity = 18;
    const int descriptor = router_fd;
    const std::size_t closes = call_count(SystemCall::Close, descriptor);
    close_router_connection();
    EXPECT_EQ(call_count(SystemCall::Close, descriptor), closes + 1);
    EXPECT_EQ(router_rx_queue.size(), 3U);
    EXPECT_TRUE(connect_in_progress);
    EXPECT_EQ(next_connect_attempt, 17U);
    EXPECT_EQ(last_router_activity, 18U);
}

TEST_F(ConnectionService, CloseThatFailsChangesNothing)
{
    discovery_needed = true;
    router_tx_buffer = "abcdef";
    router_tx_offset = 2;
    parse_router_bytes("\x01N0QD");
    const int descriptor = router_fd;
    force_result(SystemCall::Close, descriptor, -1, EIO);
    close_router_connection();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(router_fd, descriptor);
    EXPECT_TRUE(discovery_needed);
    EXPECT_EQ(parse_state, ParseState::InMessage);
    EXPECT_EQ(incoming_message.raw, "N0QD");
    EXPECT_EQ(router_tx_buffer, "abcdef");
    EXPECT_EQ(router_tx_offset, 2U);
}

TEST_F(ConnectionService, CloseDoesNothingWithoutAConnection)
{
    close_router_connection();
    diagnostics();
    discovery_needed = true;
    close_router_connection();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_TRUE(discovery_needed);
    EXPECT_EQ(call_count(SystemCall::Close, -1), 0U);
}
