// What one side may pour over the backend without costing it its stack, its memory or its link.

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

#include "control/commands.h"
#include "router_link/transaction.h"
#include "router_model/discovery.h"
#include "unit/session/played_session.h"

namespace {
class SessionFlood : public PlayedSession {};

// For more diagnostics than a pipe holds: a pipe that nobody reads would block the backend.
void discard_diagnostics()
{
    const int null_device = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(null_device, STDERR_FILENO);
    close(null_device);
    diagnostics_are_null_device = true;
}

int most_active_handlers;

void count_and_handle(ParentRecord& record)
{
    most_active_handlers = std::max(most_active_handlers, active_record_handlers);
    handle_parent_record(record);
}
} // namespace

TEST_F(SessionFlood, ThousandsOfOutputQueriesAreAllAnsweredInBoundedNesting)
{
    start_session();
    discard_diagnostics();
    number_of_outputs = 64;
    next_status_request = 0;
    most_active_handlers = 0;
    set_parent_record_handler(count_and_handle);
    fcntl(STDIN_FILENO, F_SETPIPE_SZ, 1 << 20);
    constexpr std::size_t COMMANDS = 3000;
    for (std::size_t i = 0; i < COMMANDS; ++i)
        parent_says("*TYPE=command\n*COMMAND=report\nwhat=outputs\n*ID=" + std::to_string(i));
    std::string heard;
    on_fake_wait = [this, &heard] {
        serve_router();
        heard += parent_hears();
    };
    run_until_parent_is_served();
    heard += parent_hears();
    for (std::size_t i = 0; i < COMMANDS; ++i) {
        const std::string reply = "*TYPE=reply\n*ID=" + std::to_string(i) + "\n\n";
        const std::size_t found = heard.find(reply);
        ASSERT_NE(found, std::string::npos) << i;
        heard.erase(found, reply.size());
    }
    EXPECT_EQ(heard, "");
    EXPECT_EQ(most_active_handlers, 64);
    EXPECT_EQ(active_record_handlers, 0);
    std::size_t queries = router_hears().size();
    while (!router_tx_buffer.empty()) {
        service_router_connection();
        queries += router_hears().size();
    }
    EXPECT_EQ(queries, COMMANDS * 64);
}

namespace {
// As many messages of a reply as one read takes, none of them its last.
std::string endless_reply(const char* mnemonic, const std::vector<std::string>& parameters)
{
    std::string bytes;
    const std::string message = frame(body(mnemonic, parameters, '1'));
    while (bytes.size() + message.size() <= 4096)
        bytes += message;
    return bytes;
}
} // namespace

TEST_F(SessionFlood, AReplyThatNeverEndsIsKeptInBounds)
{
    connect_router();
    discard_diagnostics();
    const std::string flood = endless_reply("DQ", {"PGM", "1"});
    on_fake_wait = [&] {
        router_says_bytes(flood);
    };
    std::vector<router_message> response;
    EXPECT_FALSE(do_timeout_send_and_recv(make_request("QD"), response, fake_now_us + 2'000'000));
    EXPECT_EQ(response.size(), MAX_REPLY_MESSAGES);
}

TEST_F(SessionFlood, AFullQueueIsNotTheRoutersSilence)
{
    connect_router();
    router_rx_queue.resize(4096);
    advance_us(25'000'000);
    service_router_connection();
    EXPECT_GE(router_fd, 0);
    EXPECT_EQ(diagnostics(), "");
    router_rx_queue.pop_front();
    advance_us(20'000'000);
    service_router_connection();
    EXPECT_EQ(diagnostics(), "<WARN>Connection timeout\n<NOTE>Connection to router closed\n");
}

TEST_F(SessionFlood, ASetOfNamesIsKeptInBounds)
{
    connect_router();
    on_fake_wait = [] {
        for (std::size_t i = 0; i < MAX_REPLY_MESSAGES; ++i)
            router_rx_queue.push_back(received("NQ", {"S", "1", "CAM 1", "1", "0", "0"}, '1'));
        router_rx_queue.push_back(received("NQ", {"S", "1", "CAM 2", "2", "0", "0"}));
        on_fake_wait = nullptr;
    };
    run_discovery();
    ASSERT_EQ(router_inputs_info.size(), 1U);
    EXPECT_EQ(router_inputs_info[0].name, "CAM 1");
}

TEST_F(SessionFlood, ReportsWaitForAParentThatDoesNotReadForMinutes)
{
    start_session();
    next_status_request = 0;
    const us_time_t start = fake_now_us;
    constexpr int REPORTS = 3000;
    std::string expected;
    for (int i = 0; i < REPORTS; ++i) {
        const std::string source = std::to_string(i % 3 + 1);
        at_us(start + 100'000U * static_cast<us_time_t>(i), [this, source] {
            router_says("IQ", {"1", "0", "N", "N", source});
        });
        expected +=
            "*COMMAND=outputs\n*TYPE=message\no0.input.all=" + std::to_string(i % 3) + "\n\n";
    }
    run_until(start + 300'000'000);
    std::string heard;
    for (std::string part = parent_hears(); !part.empty(); part = parent_hears()) {
        heard += part;
        run_passes(1);
    }
    EXPECT_EQ(heard, expected);
    EXPECT_FALSE(parent_output_pending());
    EXPECT_GE(router_fd, 0);
}
