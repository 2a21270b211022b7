// The steps of a pass in their order, told by what each does to the router, the parent and the
// diagnostics.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "common/loop_flags.h"
#include "frame/main_loop.h"
#include "frame/settings.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/status_request.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"
#include "support/backend_test.h"
#include "support/info_record.h"

namespace {
class MainLoopOrder : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        io_counts_changed = false;
        info_report_pending = false;
        // Reports and diagnostics go to one file, so that their order shows.
        dup2(STDERR_FILENO, STDOUT_FILENO);
    }

    // Everything written in one pass.
    std::string transcript_of_a_pass()
    {
        EXPECT_TRUE(main_loop_pass());
        return diagnostics();
    }

    // The next connection attempt gets this link; the router's end is router_end.
    void offer_link(int connect_result, int connect_error)
    {
        connect_router();
        force_result(SystemCall::Socket, ANY_DESCRIPTOR, router_fd);
        force_result(SystemCall::Connect, ANY_DESCRIPTOR, connect_result, connect_error);
        offered_link = std::exchange(router_fd, -1);
        router_ip_address = "127.0.0.1";
    }

    // A connection attempt that is not writable: its link takes no more bytes.
    void offer_link_in_progress()
    {
        offer_link(-1, EINPROGRESS);
        on_fake_wait = nullptr; // nothing is taken from it either
        const std::string filling(1 << 20, '.');
        while (send(offered_link, filling.data(), filling.size(), MSG_NOSIGNAL) > 0) {
        }
    }

    static void make_change_due()
    {
        number_of_outputs = 4;
        pending_route_changes = {{.input = 2, .output = 1}};
        flush_allow_time = fake_now_us;
    }

    int offered_link = -1;
};

const std::string SEND_TI = "<DBG>Send to router: " + frame(body("TI", {"1", "2"})) + "\n";
const std::string SEND_QI = "<DBG>Send to router: " + frame(body("QI", {"1", "0"})) + "\n";
constexpr const char* CLOSED = "<NOTE>Connection to router closed\n";
constexpr const char* ROUTING = "*COMMAND=outputs\n*TYPE=message\no0.input.all=3\n\n";
} // namespace

TEST_F(MainLoopOrder, DoesNothingOnceQuitIsRequested)
{
    connect_router();
    make_change_due();
    disconnect_requested = true;
    info_report_pending = true;
    quit_requested = true;
    EXPECT_FALSE(main_loop_pass());
    EXPECT_EQ(diagnostics(), "");
    EXPECT_TRUE(disconnect_requested);
    EXPECT_TRUE(recorded_waits.empty());
    EXPECT_EQ(call_count(SystemCall::Read, STDIN_FILENO), 0U);
}

TEST_F(MainLoopOrder, DoesNothingWhenNothingIsDue)
{
    EXPECT_EQ(transcript_of_a_pass(), "");
}

// Pacing, disconnect, routing report and connection upkeep, then counts and the three reports.
TEST_F(MainLoopOrder, DoesEverythingThatIsDueInItsTurn)
{
    connect_router();
    make_change_due();
    discovered_inputs = 5;
    discovered_outputs = 4;
    router_inputs_info.resize(1);
    router_inputs_info[0].name = "Camera";
    router_outputs_info.resize(1);
    router_outputs_info[0].name = "Monitor";
    accepted_route_changes = {{.input = 3, .output = 0}};
    router_ip_address = "nowhere";
    disconnect_requested = true;
    io_counts_changed = true;
    inputs_report_pending = true;
    outputs_report_pending = true;

    EXPECT_EQ(transcript_of_a_pass(),
              "<DBG>Now sending delayed route changes\n" + SEND_TI + SEND_QI + CLOSED + ROUTING +
                  "<ERR>Cannot connect, cannot parse IP address\n"
                  "<DBG>Changing number of inputs to 5\n" +
                  info_record(5, 4) + "*COMMAND=inputs\n*TYPE=message\ni0.name=Camera\n\n" +
                  "*COMMAND=outputs\n*TYPE=message\no0.name=Monitor\n\n");
    EXPECT_FALSE(disconnect_requested);
    EXPECT_FALSE(io_counts_changed);
    EXPECT_FALSE(info_report_pending);
    EXPECT_FALSE(inputs_report_pending);
    EXPECT_FALSE(outputs_report_pending);
}

TEST_F(MainLoopOrder, ReportsAllBeforeItWaits)
{
    info_report_pending = true;
    inputs_report_pending = true;
    outputs_report_pending = true;
    std::string before_wait;
    on_fake_wait = [&] {
        before_wait += diagnostics();
    };
    ASSERT_TRUE(main_loop_pass());
    EXPECT_EQ(before_wait, info_record(0, 0) + "*COMMAND=inputs\n*TYPE=message\n\n" +
                               "*COMMAND=outputs\n*TYPE=message\n\n");
}

TEST_F(MainLoopOrder, ReportsEachOnItsOwnFlagAndOnce)
{
    info_report_pending = true;
    EXPECT_EQ(transcript_of_a_pass(), info_record(0, 0));
    inputs_report_pending = true;
    EXPECT_EQ(transcript_of_a_pass(), "*COMMAND=inputs\n*TYPE=message\n\n");
    outputs_report_pending = true;
    EXPECT_EQ(transcript_of_a_pass(), "*COMMAND=outputs\n*TYPE=message\n\n");
    EXPECT_EQ(transcript_of_a_pass(), "");
}

TEST_F(MainLoopOrder, DisconnectsOnceOnly)
{
    connect_router();
    disconnect_requested = true;
    EXPECT_EQ(transcript_of_a_pass(), CLOSED);
    EXPECT_EQ(router_fd, -1);
    connect_router();
    EXPECT_EQ(transcript_of_a_pass(), "");
}

TEST_F(MainLoopOrder, ServesAConnectionInThePassThatMakesIt)
{
    offer_link(0, 0);
    router_closes();
    EXPECT_EQ(transcript_of_a_pass(), std::string("<NOTE>Connected to router, right away\n"
                                                  "<NOTE>Connection suddenly dropped\n") +
                                          CLOSED);
}

// One millisecond each in upkeep and in service, then the pass's own wait.
TEST_F(MainLoopOrder, ChecksAConnectsProgressInUpkeepAndInService)
{
    offer_link_in_progress();
    EXPECT_EQ(transcript_of_a_pass(), "<NOTE>Trying to connect to router...\n");
    ASSERT_EQ(recorded_waits.size(), 3U);
    EXPECT_EQ(recorded_waits[0].duration, 1000U);
    EXPECT_EQ(recorded_waits[1].duration, 1000U);
    EXPECT_EQ(recorded_waits[2].duration, 250'000U);
    EXPECT_EQ(recorded_waits[0].writable, std::set<int>{router_fd});
}

// The message left over from before is handled by the status step, which is idle without a link,
// and not thrown away by discovery.
TEST_F(MainLoopOrder, HandlesMessagesBetweenServiceAndDiscovery)
{
    connect_router();
    discovery_needed = true;
    router_says("XX", {"1"});
    at_us(fake_now_us + 1, [this] { router_closes(); });
    ASSERT_TRUE(main_loop_pass());
    const std::string text = diagnostics();
    const std::string received_line =
        "<DBG>Router: MSG N0XX\t198\n<DBG>Router message(raw): 'N0XX\t198' ";
    EXPECT_EQ(text.substr(0, received_line.size()), received_line);
    EXPECT_NE(text.find("<DBG>Asking for levels...\n"), std::string::npos);
}

TEST_F(MainLoopOrder, ServesTheConnectionBeforeTheStatusStep)
{
    offer_link_in_progress();
    router_rx_queue.push_back(received("XX", {"1"}));
    // The link becomes writable during the progress check of the service step.
    at_us(fake_now_us + 1500, [this] { router_hears_bytes(); });
    at_us(fake_now_us + 2000, [this] { router_closes(); });
    ASSERT_TRUE(main_loop_pass());
    const std::string expected = "<NOTE>Trying to connect to router...\n"
                                 "<NOTE>Connection sucessful.\n"
                                 "<DBG>Router message(raw): ";
    EXPECT_EQ(diagnostics().substr(0, expected.size()), expected);
}

TEST_F(MainLoopOrder, DiscoversBeforeItRecomputesTheCounts)
{
    connect_router();
    discovery_needed = true;
    configured_inputs = 5;
    io_counts_changed = true;
    at_us(fake_now_us + 1, [this] { router_closes(); });
    const std::string text = transcript_of_a_pass();
    const std::string end = "<ERR>Timeout during query (d=0 s=0 l=0)\n<ERR>Unable to send message\n"
                            "<DBG>Changing number of inputs to 5\n" +
                            info_record(5, 0);
    EXPECT_EQ(text.substr(text.size() - std::min(text.size(), end.size())), end);
    EXPECT_FALSE(io_counts_changed);
}

// Discovery would throw the rest away.
TEST_F(MainLoopOrder, HandlesAllMessagesBeforeDiscovery)
{
    connect_router();
    discovery_needed = true;
    discovered_inputs = discovered_outputs = number_of_outputs = 1;
    router_rx_queue.resize(5000, received("IQ", {"0", "0", "N", "N", "0"}));
    main_loop_pass();
    EXPECT_EQ(accepted_route_changes.size(), 4096U);
    EXPECT_EQ(router_hears(), std::vector<std::string>{});
    EXPECT_TRUE(discovery_needed);
    accepted_route_changes.clear();
    on_fake_wait = [] {
        quit_requested = true;
    }; // in the midst of discovery
    main_loop_pass();
    EXPECT_EQ(accepted_route_changes.size(), 904U);
    EXPECT_FALSE(router_hears().empty());
}

TEST_F(MainLoopOrder, KeepsDiscoveryNeededUntilDiscoveryHasReturned)
{
    connect_router();
    discovery_needed = true;
    bool needed_meanwhile = false;
    at_us(fake_now_us + 1, [&] { needed_meanwhile = discovery_needed; });
    ASSERT_TRUE(main_loop_pass());
    EXPECT_TRUE(needed_meanwhile);
    EXPECT_FALSE(discovery_needed);
    EXPECT_GE(router_fd, 0);
}

TEST_F(MainLoopOrder, RunsTheStatusRequestThatIsDue)
{
    connect_router();
    next_status_request = fake_now_us;
    router_answers("BK F", frame(body("KB", {"F", "0"})));
    router_answers("BK f 0", frame(body("KB", {"f", "0"})));
    router_answers("QD", frame(body("ER", {"00", "QD"})));
    ASSERT_TRUE(main_loop_pass());
    EXPECT_EQ(router_hears(), (std::vector<std::string>{"BK F", "BK f 0", "QD"}));
}

namespace {
// What the flags were at each write to a parent that is gone: the write raises SIGPIPE.
struct seen_flags {
    bool disconnect, counts, info, inputs, outputs;
    bool operator==(const seen_flags&) const = default;
};

std::vector<seen_flags> seen_at_writes;

void note_flags(int)
{
    seen_at_writes.push_back({disconnect_requested, io_counts_changed, info_report_pending,
                              inputs_report_pending, outputs_report_pending});
}
} // namespace

TEST_F(MainLoopOrder, ClearsTheReportFlagsBeforeAndTheOthersAfterTheirStep)
{
    int broken_pipe[2];
    ASSERT_EQ(pipe2(broken_pipe, O_CLOEXEC), 0);
    close(broken_pipe[0]);
    dup2(broken_pipe[1], STDOUT_FILENO);
    const int diagnostics_file = dup(STDERR_FILENO);
    dup2(broken_pipe[1], STDERR_FILENO);
    seen_at_writes.clear();
    const auto previous = std::signal(SIGPIPE, note_flags);
    connect_router();
    configured_inputs = 5;
    disconnect_requested = io_counts_changed = inputs_report_pending = outputs_report_pending =
        true;
    EXPECT_FALSE(main_loop_pass()); // the parent cannot be written to
    std::signal(SIGPIPE, previous);
    dup2(diagnostics_file, STDERR_FILENO);
    std::clearerr(stderr);
    close(diagnostics_file);
    close(broken_pipe[1]);

    const std::vector<seen_flags> expected = {
        {.disconnect = true, .counts = true, .info = false, .inputs = true, .outputs = true},
        {.disconnect = false, .counts = true, .info = false, .inputs = true, .outputs = true},
        {.disconnect = false, .counts = false, .info = false, .inputs = true, .outputs = true},
        {.disconnect = false, .counts = false, .info = false, .inputs = false, .outputs = true},
        {.disconnect = false, .counts = false, .info = false, .inputs = false, .outputs = false}};
    ASSERT_GE(seen_at_writes.size(), expected.size());
    seen_at_writes.resize(expected.size()); // the last service of the channel tries again
    EXPECT_TRUE(seen_at_writes == expected);
}
