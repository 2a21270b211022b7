// What may befall the backend at any time, in each phase in which it is busy with the router: the
// link is lost, or the process is to quit.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <sys/socket.h>

#include "control/commands.h"
#include "unit/session/played_session.h"

namespace {
// What happens in the middle of the phase.
std::function<void()> event;

void let_event_happen(ParentRecord&)
{
    event();
}

class SessionPhase : public PlayedSession {
  public:
    // The first pass connects and asks for names; the router stays silent.
    void collect()
    {
        on_fake_wait = nullptr;
        at_us(fake_now_us + 200'000, event);
        run_passes(1);
    }

    void request_status()
    {
        start_session();
        fake_now_us = next_status_request;
        on_fake_wait = nullptr;
        at_us(fake_now_us + 200'000, event);
        run_passes(1);
    }

    void send_burst()
    {
        start_session();
        pending_route_changes = {{.input = 0, .output = 0}, {.input = 1, .output = 1}};
        flush_allow_time = fake_now_us;
        let_event_happen_in_dispatch();
        run_passes(1);
    }

    void query_outputs()
    {
        start_session();
        let_event_happen_in_dispatch();
        ParentRecord query{.command = "report",
                           .error = "",
                           .type = "command",
                           .id = "1",
                           .fields = {{"what", "outputs"}}};
        handle_parent_record(query);
        EXPECT_EQ(parent_hears(), "*TYPE=reply\n*ID=1\n\n");
    }

  protected:
    void SetUp() override
    {
        PlayedSession::SetUp();
        const auto accept = on_connect;
        on_connect = [this, accept](int descriptor, const sockaddr_in& address) {
            attempts.push_back(fake_now_us);
            return accept(descriptor, address);
        };
    }

    // Passes until one more attempt has been made and what follows it is done.
    void run_until_next_attempt()
    {
        const std::size_t made = attempts.size();
        const us_time_t limit = fake_now_us + 60'000'000;
        while (attempts.size() == made && fake_now_us < limit)
            run_passes(1);
    }

    std::vector<us_time_t> attempts;

  private:
    // With the second dispatch from now.
    void let_event_happen_in_dispatch()
    {
        set_parent_record_handler(let_event_happen);
        parent_says_at_dispatch(2, "*TYPE=command\n*COMMAND=x");
    }
};

struct phase {
    const char* title;
    void (SessionPhase::*run)();
};

class SessionEachPhase : public SessionPhase, public testing::WithParamInterface<phase> {
  protected:
    void run_phase()
    {
        (this->*GetParam().run)();
    }
};
} // namespace

TEST_P(SessionEachPhase, LosesTheLinkAndFindsTheRouterAgain)
{
    static bool lost;
    lost = false;
    event = [this] {
        router_hears();
        router_closes();
        lost = true;
    };
    run_phase();
    EXPECT_TRUE(lost);
    EXPECT_EQ(router_fd, -1);
    const us_time_t due = std::max(attempts[0] + 5'000'000, fake_now_us);
    on_fake_wait = [this] {
        serve_router();
    };
    run_until_next_attempt();
    ASSERT_EQ(attempts.size(), 2U);
    EXPECT_GE(attempts[1], due);
    EXPECT_LE(attempts[1], due + 250'000) << "the longest wait of a pass";
    EXPECT_EQ(router_hears(), DISCOVERY_REQUESTS);
    EXPECT_EQ(number_of_outputs, 2U);
}

TEST_P(SessionEachPhase, EndsTheLoopWhenTheProcessIsToQuit)
{
    static us_time_t asked;
    asked = 0;
    event = [] {
        handle_termination_signal(SIGTERM);
        asked = fake_now_us;
    };
    run_phase();
    EXPECT_NE(asked, 0U);
    EXPECT_LE(fake_now_us, asked + 2'000'000 + 250'000) << "a transaction and the pass's own wait";
    const us_time_t ended = fake_now_us;
    EXPECT_FALSE(main_loop_pass());
    EXPECT_EQ(fake_now_us, ended);
}

INSTANTIATE_TEST_SUITE_P(Busy, SessionEachPhase,
                         testing::Values(phase{"Collection", &SessionPhase::collect},
                                         phase{"StatusRequest", &SessionPhase::request_status},
                                         phase{"Burst", &SessionPhase::send_burst},
                                         phase{"OutputQuery", &SessionPhase::query_outputs}),
                         [](const auto& tested) { return std::string(tested.param.title); });

TEST_F(SessionPhase, AnAttemptThatNobodyAnswersIsGivenUpAfter20SecondsAndMadeAgain)
{
    const auto accept = on_connect;
    on_fake_wait = nullptr;
    on_connect = [accept](int descriptor, const sockaddr_in& address) {
        accept(descriptor, address);
        const std::string filling(65536, 'x');
        while (send(descriptor, filling.data(), filling.size(), MSG_DONTWAIT) > 0) {
        }
        errno = EINPROGRESS;
        return -1;
    };
    run_until(FAKE_START_US + 20'000'000);
    EXPECT_EQ(attempts, std::vector<us_time_t>{FAKE_START_US});
    run_passes(1);
    EXPECT_EQ(diagnostics(), "<NOTE>Trying to connect to router...\n<WARN>Connection timeout\n"
                             "<NOTE>Connection to router closed\n");
    on_connect = accept;
    on_fake_wait = [this] {
        serve_router();
    };
    run_until_next_attempt();
    ASSERT_EQ(attempts.size(), 2U);
    EXPECT_LE(attempts[1], FAKE_START_US + 21'000'000);
    EXPECT_FALSE(discovery_needed);
    EXPECT_EQ(number_of_outputs, 2U);
}
