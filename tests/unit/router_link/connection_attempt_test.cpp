// Attempts: when one starts, with which address, and how it succeeds or fails.
#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include "common/loop_flags.h"
#include "frame/settings.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "support/backend_test.h"

namespace {
constexpr us_time_t RETRY_US = 5'000'000;

class ConnectionAttempt : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        router_ip_address = "127.0.0.1";
        router_port = 4711;
    }

    void TearDown() override
    {
        if (listener >= 0) close(listener);
        BackendTest::TearDown();
    }

    // Attempts find nobody yet: the connection stays in progress until router_accepts.
    void leave_attempts_pending()
    {
        on_fake_wait = nullptr; // the router reads when told to
        on_connect = [this](int descriptor, const sockaddr_in&) {
            int ends[2];
            if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends) != 0) return -1;
            const std::string filling(65536, 'x');
            while (send(ends[0], filling.data(), filling.size(), 0) > 0) {
            }
            dup2(ends[0], descriptor);
            close(ends[0]);
            router_end = ends[1];
            errno = EINPROGRESS;
            return -1;
        };
    }

    void router_accepts()
    {
        char bytes[65536];
        while (recv(router_end, bytes, sizeof bytes, MSG_DONTWAIT) > 0) {
        }
    }

    // Takes a free port; the router listens on it, or refuses.
    void choose_port(bool listening)
    {
        listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        ASSERT_EQ(bind(listener, generic, size), 0);
        ASSERT_EQ(getsockname(listener, generic, &size), 0);
        if (listening) listen(listener, 1);
        router_port = ntohs(address.sin_port);
    }

    // Returns once the pending attempt has an outcome.
    static void await_outcome()
    {
        pollfd outcome = {router_fd, POLLOUT, 0};
        ASSERT_EQ(poll(&outcome, 1, 30'000), 1);
    }

    std::string log_of_attempt_at(us_time_t time)
    {
        fake_now_us = time;
        connect_to_router();
        return diagnostics();
    }

    // The address that an attempt now goes to.
    std::string attempted_address()
    {
        std::string shown = "none";
        on_connect = [&shown](int, const sockaddr_in& address) {
            shown = inet_ntoa(address.sin_addr) + std::string(":") +
                    std::to_string(ntohs(address.sin_port));
            if (address.sin_family != AF_INET) shown += " of another family";
            return 0;
        };
        next_connect_attempt = 0;
        connect_to_router();
        close_router_connection();
        return shown;
    }

    std::string address_for(const std::string& text)
    {
        router_ip_address = text;
        return attempted_address();
    }

    std::string address_for_port(std::int32_t port)
    {
        router_port = port;
        return attempted_address();
    }

  private:
    int listener = -1;
};
} // namespace

TEST_F(ConnectionAttempt, SucceedsRightAway)
{
    connect_in_progress = true;
    force_result(SystemCall::Connect, ANY_DESCRIPTOR, 0);
    connect_to_router();
    EXPECT_EQ(diagnostics(), "<NOTE>Connected to router, right away\n");
    EXPECT_TRUE(discovery_needed);
    EXPECT_FALSE(connect_in_progress);
    EXPECT_GE(router_fd, 0);
    EXPECT_TRUE(recorded_waits.empty());
}

TEST_F(ConnectionAttempt, SetsTheTimesOfItsStart)
{
    leave_attempts_pending();
    connect_to_router();
    EXPECT_EQ(next_connect_attempt, FAKE_START_US + RETRY_US);
    EXPECT_EQ(last_router_activity, FAKE_START_US);
}

TEST_F(ConnectionAttempt, WaitsAMillisecondForProgressInEachCall)
{
    leave_attempts_pending();
    connect_to_router();
    EXPECT_EQ(diagnostics(), "<NOTE>Trying to connect to router...\n");
    EXPECT_TRUE(connect_in_progress);
    EXPECT_FALSE(discovery_needed);
    connect_to_router();
    EXPECT_EQ(diagnostics(), "");
    ASSERT_EQ(recorded_waits.size(), 2U);
    EXPECT_EQ(recorded_waits[1].duration, 1'000U);
    EXPECT_EQ(recorded_waits[1].writable, std::set{router_fd});
    EXPECT_EQ(recorded_waits[1].readable, std::set<int>{});
    EXPECT_EQ(fake_now_us, FAKE_START_US + 2'000);
}

TEST_F(ConnectionAttempt, StaysPendingWhenTheWaitForProgressFails)
{
    leave_attempts_pending();
    connect_to_router();
    diagnostics();
    close(router_fd); // the wait's only error that can be had at will
    connect_to_router();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_TRUE(connect_in_progress);
    EXPECT_FALSE(discovery_needed);
}

TEST_F(ConnectionAttempt, SucceedsAfterProgress)
{
    leave_attempts_pending();
    connect_to_router();
    diagnostics();
    router_accepts();
    connect_to_router();
    EXPECT_EQ(diagnostics(), "<NOTE>Connection sucessful.\n");
    EXPECT_FALSE(connect_in_progress);
    EXPECT_TRUE(discovery_needed);
    connect_to_router();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(call_count(SystemCall::Socket, ANY_DESCRIPTOR), 1U);
}

TEST_F(ConnectionAttempt, ReachesAListeningRouter)
{
    choose_port(true);
    connect_to_router();
    if (connect_in_progress) {
        await_outcome();
        connect_to_router();
    }
    EXPECT_EQ(diagnostics(), "<NOTE>Trying to connect to router...\n<NOTE>Connection sucessful.\n");
    EXPECT_TRUE(discovery_needed);
}

TEST_F(ConnectionAttempt, ReportsARefusalWithTheSocketsOwnError)
{
    choose_port(false);
    connect_to_router();
    if (router_fd >= 0) {
        await_outcome();
        connect_to_router();
    }
    EXPECT_EQ(diagnostics(), "<NOTE>Trying to connect to router...\n"
                             "<ERR>Connection failed, Connection refused\n"
                             "<NOTE>Connection to router closed\n");
    EXPECT_EQ(router_fd, -1);
    EXPECT_FALSE(discovery_needed);
    EXPECT_TRUE(connect_in_progress);
}

TEST_F(ConnectionAttempt, FollowsARefusalFiveSecondsAfterItsStart)
{
    choose_port(false);
    connect_to_router();
    if (router_fd >= 0) await_outcome();
    fake_now_us = FAKE_START_US + 3'000'000;
    connect_to_router();
    EXPECT_EQ(router_fd, -1);
    fake_now_us = FAKE_START_US + RETRY_US - 1;
    diagnostics();
    connect_to_router();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_TRUE(connect_in_progress);
    fake_now_us = FAKE_START_US + RETRY_US;
    force_result(SystemCall::Connect, ANY_DESCRIPTOR, 0);
    connect_to_router();
    EXPECT_EQ(diagnostics(), "<NOTE>Connected to router, right away\n");
    EXPECT_EQ(next_connect_attempt, FAKE_START_US + 2 * RETRY_US);
}

TEST_F(ConnectionAttempt, ReportsAnotherFailureAndCloses)
{
    force_result(SystemCall::Connect, ANY_DESCRIPTOR, -1, ENETUNREACH);
    connect_to_router();
    EXPECT_EQ(diagnostics(), "<ERR>Failed to connect to router, Network is unreachable\n"
                             "<NOTE>Connection to router closed\n");
    EXPECT_EQ(router_fd, -1);
    EXPECT_FALSE(connect_in_progress);
    EXPECT_FALSE(discovery_needed);
    EXPECT_EQ(next_connect_attempt, FAKE_START_US + RETRY_US);
}

TEST_F(ConnectionAttempt, ComesEachFiveSecondsForAnUnparsableAddress)
{
    router_ip_address = "router.example";
    connect_in_progress = true;
    for (us_time_t start = FAKE_START_US; start <= FAKE_START_US + RETRY_US; start += RETRY_US) {
        EXPECT_EQ(log_of_attempt_at(start), "<ERR>Cannot connect, cannot parse IP address\n");
        EXPECT_EQ(last_router_activity, start);
        EXPECT_EQ(log_of_attempt_at(start + RETRY_US - 1), "");
    }
    EXPECT_FALSE(connect_in_progress);
}

TEST_F(ConnectionAttempt, ComesEachFiveSecondsWithoutASocket)
{
    for (us_time_t start = FAKE_START_US; start <= FAKE_START_US + RETRY_US; start += RETRY_US) {
        force_result(SystemCall::Socket, ANY_DESCRIPTOR, -1, EMFILE);
        EXPECT_EQ(log_of_attempt_at(start), "<ERR>Cannot connect, cannot create socket\n");
        EXPECT_EQ(router_fd, -1);
        EXPECT_EQ(log_of_attempt_at(start + RETRY_US - 1), "");
    }
    EXPECT_EQ(call_count(SystemCall::Connect, -1), 0U);
}

TEST_F(ConnectionAttempt, RefusesADescriptorThatCannotBeWaitedFor)
{
    force_result(SystemCall::Socket, ANY_DESCRIPTOR, FD_SETSIZE);
    force_result(SystemCall::Close, FD_SETSIZE, 0);
    connect_to_router();
    EXPECT_EQ(diagnostics(), "<ERR>Cannot connect, cannot create socket\n");
    EXPECT_EQ(router_fd, -1);
    EXPECT_EQ(call_count(SystemCall::Close, FD_SETSIZE), 1U);
    EXPECT_EQ(call_count(SystemCall::Connect, FD_SETSIZE), 0U);
}

TEST_F(ConnectionAttempt, UsesTheHighestDescriptorThatCanBeWaitedFor)
{
    force_result(SystemCall::Socket, ANY_DESCRIPTOR, FD_SETSIZE - 1);
    force_result(SystemCall::Connect, FD_SETSIZE - 1, 0);
    connect_to_router();
    EXPECT_EQ(router_fd, FD_SETSIZE - 1);
}

TEST_F(ConnectionAttempt, NeverComesWithoutAnAddress)
{
    router_ip_address = "";
    connect_in_progress = true;
    for (int i = 0; i < 10; ++i) {
        connect_to_router();
        advance_us(RETRY_US);
    }
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(next_connect_attempt, 0U);
    EXPECT_EQ(last_router_activity, 0U);
    EXPECT_TRUE(connect_in_progress);
    EXPECT_EQ(call_count(SystemCall::Socket, ANY_DESCRIPTOR), 0U);
    EXPECT_TRUE(recorded_waits.empty());
    router_ip_address = "127.0.0.1";
    force_result(SystemCall::Connect, ANY_DESCRIPTOR, 0);
    connect_to_router();
    EXPECT_EQ(diagnostics(), "<NOTE>Connected to router, right away\n");
}

TEST_F(ConnectionAttempt, ReadsAddressesAsTheSystemDoes)
{
    EXPECT_EQ(address_for("127.0.0.1"), "127.0.0.1:4711");
    EXPECT_EQ(address_for("127.1"), "127.0.0.1:4711");
    EXPECT_EQ(address_for("127.2.3.4\r"), "127.2.3.4:4711");
    EXPECT_EQ(address_for("127.2.3.4 and more"), "127.2.3.4:4711");
    EXPECT_EQ(address_for("0x7f.0.0.2"), "127.0.0.2:4711");
    EXPECT_EQ(address_for("2130706433"), "127.0.0.1:4711");
    EXPECT_EQ(address_for(" 127.0.0.1"), "none");
    EXPECT_EQ(address_for("127.0.0.1x"), "none");
    EXPECT_EQ(address_for("127.0.0.256"), "none");
}

TEST_F(ConnectionAttempt, GoesToPort12345UnlessThePortIsAtLeast1)
{
    EXPECT_EQ(address_for_port(-1), "127.0.0.1:12345");
    EXPECT_EQ(address_for_port(0), "127.0.0.1:12345");
    EXPECT_EQ(address_for_port(INT32_MIN), "127.0.0.1:12345");
    EXPECT_EQ(address_for_port(1), "127.0.0.1:1");
}

TEST_F(ConnectionAttempt, UsesTheLow16BitsOfThePort)
{
    EXPECT_EQ(address_for_port(65535), "127.0.0.1:65535");
    EXPECT_EQ(address_for_port(65536), "127.0.0.1:0");
    EXPECT_EQ(address_for_port(70000), "127.0.0.1:4464");
}

TEST_F(ConnectionAttempt, OpensANonBlockingStreamThatNoChildInherits)
{
    choose_port(true);
    connect_to_router();
    int type = 0;
    socklen_t size = sizeof type;
    ASSERT_EQ(getsockopt(router_fd, SOL_SOCKET, SO_TYPE, &type, &size), 0);
    EXPECT_EQ(type, SOCK_STREAM);
    EXPECT_NE(fcntl(router_fd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(fcntl(router_fd, F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(ConnectionAttempt, MakesNoMessageWaitForTheOneBefore)
{
    choose_port(true);
    connect_to_router();
    int without_delay = 0;
    socklen_t size = sizeof without_delay;
    ASSERT_EQ(getsockopt(router_fd, IPPROTO_TCP, TCP_NODELAY, &without_delay, &size), 0);
    EXPECT_NE(without_delay, 0);
}

TEST_F(ConnectionAttempt, IsNotMadeBesideAConnection)
{
    connect_router();
    connect_to_router();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(call_count(SystemCall::Socket, ANY_DESCRIPTOR), 0U);
    EXPECT_TRUE(recorded_waits.empty());
}
