#include <fcntl.h>
#include <unistd.h>

#include "control/commands.h"
#include "unit/session/played_session.h"

namespace {
class SessionSlowPeer : public PlayedSession {};
} // namespace

TEST_F(SessionSlowPeer, ParentGetsEverythingInOrderOnceItReads)
{
    start_session();
    fcntl(STDOUT_FILENO, F_SETPIPE_SZ, 4096);
    std::string expected;
    for (int i = 0; i < 500; ++i) {
        const std::string id = std::to_string(i);
        parent_says("*TYPE=command\n*COMMAND=report\n*ID=" + id + "\nwhat=inputs");
        expected += "*TYPE=reply\n*ID=" + id + "\n\n";
    }
    run_until_parent_is_served();
    EXPECT_TRUE(parent_output_pending());
    EXPECT_GE(router_fd, 0) << "the router is served meanwhile";
    std::string heard = parent_hears();
    while (parent_output_pending()) {
        run_passes(1);
        heard += parent_hears();
    }
    EXPECT_EQ(heard + parent_hears(), expected);
}

TEST_F(SessionSlowPeer, RouterGetsEverythingInOrderOnceItReads)
{
    start_session();
    number_of_outputs = 256;
    on_fake_wait = nullptr; // the router does not read
    ParentRecord query{.command = "report",
                       .error = "",
                       .type = "command",
                       .id = "1",
                       .fields = {{"what", "outputs"}}};
    Requests expected;
    while (router_tx_buffer.empty()) {
        handle_parent_record(query);
        for (int i = 1; i <= 256; ++i) {
            char text[16];
            std::snprintf(text, sizeof text, "QI %X 0", static_cast<unsigned>(i));
            expected.emplace_back(text);
        }
    }
    Requests heard = router_hears();
    while (!router_tx_buffer.empty()) {
        service_router_connection();
        const Requests more = router_hears();
        heard.insert(heard.end(), more.begin(), more.end());
    }
    EXPECT_EQ(heard, expected);
}

TEST_F(SessionSlowPeer, ARouterThatNeverStopsSendingKeepsNobodyWaiting)
{
    start_session();
    router_rx_queue.assign(100, received("XX"));
    on_fake_wait = [this] {
        fake_now_us += 10;
        for (int i = 0; i < 20; ++i)
            router_says("IQ", {"1", "x", "x", "x", "1"});
    };
    parent_says("*TYPE=command\n*COMMAND=report\n*ID=1\nwhat=inputs");
    const us_time_t asked_at = fake_now_us;
    run_passes(40);
    EXPECT_LT(fake_now_us, asked_at + 250'000) << "no pass waits its time out";
    EXPECT_NE(parent_hears().find("*TYPE=reply\n*ID=1\n\n"), std::string::npos);
    EXPECT_LE(router_rx_queue.size(), 4096U + 512U);
}

TEST_F(SessionSlowPeer, AParentThatHasGoneEndsTheLoop)
{
    start_session();
    parent_closes();
    EXPECT_FALSE(main_loop_pass());
}

TEST_F(SessionSlowPeer, AParentThatClosesDuringAStatusRequestEndsTheLoopAfterIt)
{
    start_session();
    fake_now_us = next_status_request;
    on_fake_wait = nullptr;
    at_us(fake_now_us + 100'000, [this] { parent_closes(); });
    const us_time_t deadline = fake_now_us + 2'000'000;
    EXPECT_FALSE(main_loop_pass());
    EXPECT_GE(fake_now_us, deadline);
}
