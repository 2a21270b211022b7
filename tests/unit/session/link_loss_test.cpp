#include <csignal>

#include "unit/session/played_session.h"

namespace {
class SessionLinkLoss : public PlayedSession {
  protected:
    // The next attempt comes 5 seconds after the last one and finds the router again.
    void expect_reconnection_after_five_seconds()
    {
        EXPECT_EQ(router_fd, -1);
        const us_time_t due = next_connect_attempt;
        run_until(std::max(due, fake_now_us + 1));
        run_passes(2);
        EXPECT_GE(router_fd, 0);
        EXPECT_EQ(next_connect_attempt, last_attempt() + 5'000'000);
        EXPECT_FALSE(discovery_needed);
    }

    us_time_t last_attempt() const
    {
        return attempts.back();
    }

    void SetUp() override
    {
        PlayedSession::SetUp();
        const auto accept = on_connect;
        on_connect = [this, accept](int descriptor, const sockaddr_in& address) {
            attempts.push_back(fake_now_us);
            return accept(descriptor, address);
        };
    }

    std::vector<us_time_t> attempts;
};
} // namespace

TEST_F(SessionLinkLoss, WhileIdleLeadsToReconnection)
{
    start_session();
    router_closes();
    run_passes(1);
    EXPECT_EQ(diagnostics(),
              "<NOTE>Connection suddenly dropped\n<NOTE>Connection to router closed\n");
    expect_reconnection_after_five_seconds();
    EXPECT_EQ(attempts.size(), 2U);
    EXPECT_EQ(attempts[1], FAKE_START_US + 5'000'000);
    EXPECT_EQ(router_hears(), DISCOVERY_REQUESTS);
}

TEST_F(SessionLinkLoss, DuringAnOutputQueryStillAnswersTheParent)
{
    start_session();
    force_result(SystemCall::Send, router_fd, -1, ECONNRESET);
    parent_says("*TYPE=command\n*COMMAND=report\n*ID=4\nwhat=outputs");
    run_until_parent_is_served();
    EXPECT_EQ(parent_hears(), "*TYPE=reply\n*ID=4\n\n");
    expect_reconnection_after_five_seconds();
}

TEST_F(SessionLinkLoss, KeepsTheNamesAndHoldsRouteChangesForTheNextConnection)
{
    start_session();
    router_closes();
    run_passes(1);
    parent_says("*TYPE=command\n*COMMAND=route output\nqueue=add\nto output=1\nfrom input=0");
    parent_says("*TYPE=command\n*COMMAND=route output\nqueue=flush");
    run_until_parent_is_served();
    EXPECT_EQ(number_of_outputs, 2U);
    EXPECT_EQ(pending_route_changes.size(), 1U);
    expect_reconnection_after_five_seconds();
    Requests expected = DISCOVERY_REQUESTS;
    expected.insert(expected.end() - 2, {"TI 2 1", "QI 2 0"});
    EXPECT_EQ(router_hears(), expected);
}

TEST_F(SessionLinkLoss, DropsRouteChangesFiveSecondsAfterTheLastBurst)
{
    start_session();
    number_of_outputs = 2;
    pending_route_changes = {{.input = 0, .output = 0}};
    send_route_changes();
    const us_time_t burst = fake_now_us;
    router_ip_address.clear();
    router_closes();
    run_passes(1);
    staged_route_changes = {{.input = 1, .output = 1}};
    run_until(burst + 4'999'999);
    EXPECT_EQ(staged_route_changes.size(), 1U);
    run_passes(2);
    EXPECT_TRUE(staged_route_changes.empty());
}

TEST_F(SessionLinkLoss, FollowsARouterThatDoesNotAnswer)
{
    start_session();
    run_until(next_status_request + 2'000'000);
    run_passes(1);
    EXPECT_NE(diagnostics().find("<ERR>Timeout receiving message\n"
                                 "<NOTE>Connection to router closed\n"),
              std::string::npos);
    expect_reconnection_after_five_seconds();
}

TEST_F(SessionLinkLoss, DoesNotDelayQuittingInABurstOrQuery)
{
    start_session();
    set_parent_record_handler([](ParentRecord&) { handle_termination_signal(SIGINT); });
    pending_route_changes = {{.input = 0, .output = 0}};
    parent_says_at_dispatch(2, "*TYPE=command\n*COMMAND=x");
    send_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 1 1", "QI 1 0"})) << "the burst is completed";
    EXPECT_FALSE(main_loop_pass());
}
