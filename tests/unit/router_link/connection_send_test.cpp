// Sending: what is queued, written and logged, whatever the write comes to.
#include <cerrno>
#include <csignal>

#include "router_link/connection.h"
#include "support/backend_test.h"

namespace {
const std::string QD_FRAME = "\x01N0QDED\x04";
const std::string QD_LOG = "<DBG>Send to router: " + QD_FRAME + "\n";
const std::string CLOSED = "<NOTE>Connection to router closed\n";

class ConnectionSend : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        connect_router();
    }

    // Sends while the write comes to this.
    bool send_with(ssize_t result, int error_number)
    {
        force_result(SystemCall::Send, router_fd, result, error_number);
        return connection_sendmsg(make_request("QD"));
    }
};

volatile std::sig_atomic_t pipe_signals = 0;

void count_pipe_signal(int)
{
    pipe_signals = pipe_signals + 1;
}
} // namespace

TEST_F(ConnectionSend, WritesTheFrameAtOnceAndLogsIt)
{
    EXPECT_TRUE(connection_sendmsg(make_request("QD")));
    EXPECT_EQ(router_hears_bytes(), QD_FRAME);
    EXPECT_EQ(diagnostics(), QD_LOG);
    EXPECT_EQ(router_tx_buffer, "");
    EXPECT_EQ(call_count(SystemCall::Send, router_fd), 1U);
}

TEST_F(ConnectionSend, FailsSilentlyWithoutAConnection)
{
    close_router_connection();
    diagnostics();
    EXPECT_FALSE(connection_sendmsg(make_request("QD")));
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(router_tx_buffer, "");
}

TEST_F(ConnectionSend, FailsSilentlyWhileConnecting)
{
    connect_in_progress = true;
    EXPECT_FALSE(connection_sendmsg(make_request("QD")));
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(router_tx_buffer, "");
    EXPECT_GE(router_fd, 0);
}

TEST_F(ConnectionSend, FailsSilentlyForATooLongMessage)
{
    router_tx_buffer = "abc";
    EXPECT_FALSE(connection_sendmsg(make_request("QD", {std::string(1010, 'x')})));
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(router_tx_buffer, "abc");
    EXPECT_EQ(call_count(SystemCall::Send, router_fd), 0U);
}

TEST_F(ConnectionSend, KeepsTheRestOfAPartialWriteAheadOfNewerMessages)
{
    limit_next_write(SystemCall::Send, router_fd, 3);
    EXPECT_TRUE(connection_sendmsg(make_request("QD")));
    EXPECT_EQ(router_hears_bytes(), QD_FRAME.substr(0, 3));
    EXPECT_EQ(router_tx_offset, 3U);
    EXPECT_EQ(router_tx_buffer, QD_FRAME);
    EXPECT_TRUE(connection_sendmsg(make_request("QD", {"rr"})));
    EXPECT_EQ(router_hears_bytes(), QD_FRAME.substr(3) + "\x01N0QD\trr00\x04");
    EXPECT_EQ(router_tx_offset, 0U);
    EXPECT_EQ(router_tx_buffer, "");
}

TEST_F(ConnectionSend, LeavesTheRestOfAPartialWriteToTheNextService)
{
    limit_next_write(SystemCall::Send, router_fd, 7);
    connection_sendmsg(make_request("QD"));
    service_router_connection();
    EXPECT_EQ(router_hears_bytes(), QD_FRAME);
    EXPECT_EQ(router_tx_buffer, "");
}

TEST_F(ConnectionSend, ClosesWhenNothingCanBeWritten)
{
    EXPECT_TRUE(send_with(0, EAGAIN));
    EXPECT_EQ(diagnostics(), "<NOTE>Connection suddenly dropped\n" + CLOSED + QD_LOG);
    EXPECT_EQ(router_fd, -1);
    EXPECT_EQ(router_tx_buffer, "");
}

TEST_F(ConnectionSend, KeepsTheFrameWhileTheSocketIsFull)
{
    EXPECT_TRUE(send_with(-1, EAGAIN));
    EXPECT_EQ(diagnostics(), QD_LOG);
    EXPECT_EQ(router_tx_buffer, QD_FRAME);
    service_router_connection();
    EXPECT_EQ(router_hears_bytes(), QD_FRAME);
}

TEST_F(ConnectionSend, ClosesAfterAWriteErrorAndStillSucceeds)
{
    EXPECT_TRUE(send_with(-1, ECONNRESET));
    EXPECT_EQ(diagnostics(),
              "<NOTE>Connection problem, Connection reset by peer\n" + CLOSED + QD_LOG);
    EXPECT_EQ(router_fd, -1);
    EXPECT_EQ(router_tx_buffer, "");
    EXPECT_EQ(router_tx_offset, 0U);
}

TEST_F(ConnectionSend, TreatsAnInterruptedWriteAsAnError)
{
    EXPECT_TRUE(send_with(-1, EINTR));
    EXPECT_EQ(diagnostics(),
              "<NOTE>Connection problem, Interrupted system call\n" + CLOSED + QD_LOG);
}

TEST_F(ConnectionSend, RaisesNoSignalWhenTheRouterIsGone)
{
    pipe_signals = 0;
    const auto previous = std::signal(SIGPIPE, count_pipe_signal);
    router_closes();
    EXPECT_TRUE(connection_sendmsg(make_request("QD")));
    std::signal(SIGPIPE, previous);
    EXPECT_EQ(pipe_signals, 0);
    EXPECT_EQ(diagnostics(), "<NOTE>Connection problem, Broken pipe\n" + CLOSED + QD_LOG);
}

TEST_F(ConnectionSend, ReactsTheSameWhenTheServiceWrites)
{
    router_tx_buffer = "abc";
    force_result(SystemCall::Send, router_fd, -1, ECONNRESET);
    service_router_connection();
    EXPECT_EQ(diagnostics(), "<NOTE>Connection problem, Connection reset by peer\n" + CLOSED);
    router_tx_buffer.clear();
    connect_router();
    router_tx_buffer = "abc";
    force_result(SystemCall::Send, router_fd, 0);
    service_router_connection();
    EXPECT_EQ(diagnostics(), "<NOTE>Connection suddenly dropped\n" + CLOSED);
}

TEST_F(ConnectionSend, LogsTheFrameUpToItsNul)
{
    router_message message = make_request("QD");
    message.seq = '\0';
    EXPECT_TRUE(connection_sendmsg(message));
    EXPECT_EQ(router_hears_bytes(), "\x01N");
    EXPECT_EQ(diagnostics(), "<DBG>Send to router: \x01N\n");
}
