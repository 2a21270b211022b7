// The one wait of a pass and what comes after it.

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include "common/loop_flags.h"
#include "frame/main_loop.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"
#include "support/backend_test.h"

namespace {
constexpr us_time_t IDLE_US = 250'000;
constexpr us_time_t PACING_US = 50'000;

class MainLoopWait : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        io_counts_changed = false;
        info_report_pending = false;
        handled.clear();
        set_parent_record_handler(
            [](ParentRecord& record) { handled.push_back(record.fields.begin()->first); });
    }

    // One pass; the lengths of its waits.
    std::vector<us_time_t> waits_of_a_pass(bool expected_to_go_on = true)
    {
        recorded_waits.clear();
        EXPECT_EQ(main_loop_pass(), expected_to_go_on);
        std::vector<us_time_t> durations;
        for (const recorded_wait& wait : recorded_waits)
            durations.push_back(wait.duration);
        return durations;
    }

    static void hold_changes_back()
    {
        pending_route_changes = {{.input = 1, .output = 1}};
        flush_allow_time = fake_now_us + 1;
    }

    static inline std::vector<std::string> handled;
};

using Waits = std::vector<us_time_t>;
using Names = std::vector<std::string>;
using Descriptors = std::set<int>;
} // namespace

TEST_F(MainLoopWait, LastsUpToAQuarterOfASecondWhenNothingIsDue)
{
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
    EXPECT_EQ(fake_now_us, FAKE_START_US + 250'000);
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
    EXPECT_EQ(fake_now_us, FAKE_START_US + 500'000);
    EXPECT_FALSE(recorded_waits[0].is_pause);
}

TEST_F(MainLoopWait, IsShortWhileChangesAreHeldBackAndNothingElseIsInFlight)
{
    hold_changes_back();
    EXPECT_EQ(waits_of_a_pass(), Waits{PACING_US});
    connect_router();
    hold_changes_back();
    EXPECT_EQ(waits_of_a_pass(), Waits{PACING_US});
}

TEST_F(MainLoopWait, IsLongWhileParentOutputIsPending)
{
    hold_changes_back();
    parent_output = "a=1\n\n";
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
}

TEST_F(MainLoopWait, IsLongWhileAConnectIsInProgress)
{
    hold_changes_back();
    connect_in_progress = true;
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
}

TEST_F(MainLoopWait, IsLongWhileReceivedMessagesAreQueued)
{
    hold_changes_back();
    router_rx_queue.push_back(received("IQ"));
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
}

TEST_F(MainLoopWait, IsLongWhileBytesForTheRouterAreUnsent)
{
    hold_changes_back();
    router_tx_buffer = "x";
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
}

TEST_F(MainLoopWait, IsLongWhileAMessageIsReceivedInPart)
{
    hold_changes_back();
    incoming_message.raw = "N";
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
}

TEST_F(MainLoopWait, IsLongWhenNoChangesAreHeldBack)
{
    flush_allow_time = fake_now_us + 1;
    staged_route_changes = {{.input = 1, .output = 1}};
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
}

TEST_F(MainLoopWait, IsLongOnceTheFlushIsAllowed)
{
    hold_changes_back();
    flush_allow_time = fake_now_us;
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
    hold_changes_back();
    flush_allow_time = 0;
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
}

TEST_F(MainLoopWait, IsSkippedWhileARecordWaits)
{
    parent_says("a=");
    for (int i = 0; i < 4; ++i)
        read_parent_byte();
    ASSERT_TRUE(record_complete);
    EXPECT_EQ(waits_of_a_pass(), Waits{});
    EXPECT_EQ(handled, Names{"a"});
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
}

namespace {
// A signal can come at any time; one that is raised by the write of a report stands for whatever
// makes work after the step that would do it.
bool* flag_raised_by_signal = nullptr;

void raise_flag(int)
{
    *flag_raised_by_signal = true;
}
} // namespace

TEST_F(MainLoopWait, IsSkippedWhileCountsOrInfoReportAreDueAgain)
{
    const auto previous = std::signal(SIGPIPE, raise_flag);
    parent_closes_output();
    for (bool* const flag : {&info_report_pending, &io_counts_changed}) {
        flag_raised_by_signal = flag;
        outputs_report_pending = true;
        EXPECT_EQ(waits_of_a_pass(false), Waits{});
        EXPECT_TRUE(*flag);
        *flag = false;
    }
    std::signal(SIGPIPE, previous);
}

TEST_F(MainLoopWait, IsSkippedUntilAllReceivedMessagesAreHandled)
{
    connect_router();
    router_rx_queue.resize(8193);
    EXPECT_EQ(waits_of_a_pass(), Waits{});
    EXPECT_EQ(waits_of_a_pass(), Waits{});
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
    EXPECT_TRUE(router_rx_queue.empty());
}

TEST_F(MainLoopWait, IsNotSkippedWhileNameReportsAreDueAgain)
{
    const auto previous = std::signal(SIGPIPE, raise_flag);
    parent_closes_output();
    flag_raised_by_signal = &inputs_report_pending;
    outputs_report_pending = true;
    EXPECT_EQ(waits_of_a_pass(false), Waits{IDLE_US});
    std::signal(SIGPIPE, previous);
}

TEST_F(MainLoopWait, WatchesTheParentAloneWithoutARouter)
{
    ASSERT_TRUE(main_loop_pass());
    ASSERT_EQ(recorded_waits.size(), 1U);
    EXPECT_EQ(recorded_waits[0].readable, (Descriptors{0, 1, 2}));
    EXPECT_EQ(recorded_waits[0].writable, Descriptors{});
}

TEST_F(MainLoopWait, WatchesTheRouterAndTheParent)
{
    connect_router();
    ASSERT_TRUE(main_loop_pass());
    ASSERT_EQ(recorded_waits.size(), 1U);
    EXPECT_EQ(recorded_waits[0].readable, (Descriptors{0, 1, 2, router_fd}));
    EXPECT_EQ(recorded_waits[0].writable, Descriptors{});
}

TEST_F(MainLoopWait, EndsWhenTheParentSaysSomething)
{
    at_us(FAKE_START_US + 1000, [this] { parent_says_bytes("abc"); });
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
    EXPECT_EQ(fake_now_us, FAKE_START_US + 1000);
    EXPECT_EQ(parent_line, "ab");
}

TEST_F(MainLoopWait, EndsWhenTheRouterSaysSomething)
{
    connect_router();
    at_us(FAKE_START_US + 1000, [this] { router_says("XX"); });
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
    EXPECT_EQ(fake_now_us, FAKE_START_US + 1000);
}

TEST_F(MainLoopWait, MayFailWithoutConsequence)
{
    router_fd = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100);
    close(router_fd); // the router's descriptor is no longer one
    force_result(SystemCall::Read, router_fd, -1, EAGAIN);
    force_result(SystemCall::Read, router_fd, -1, EAGAIN);
    force_result(SystemCall::Read, router_fd, -1, EAGAIN);
    last_router_activity = fake_now_us;
    parent_says_bytes("ab");
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
    EXPECT_EQ(fake_now_us, FAKE_START_US);
    EXPECT_EQ(parent_line, "ab");
    router_fd = -1;
}

TEST_F(MainLoopWait, ComesBeforeTheParentsBytesAreRead)
{
    parent_says_bytes("abc");
    std::string line_at_wait = "none";
    on_fake_wait = [&] {
        line_at_wait = parent_line;
    };
    EXPECT_EQ(waits_of_a_pass(), Waits{IDLE_US});
    EXPECT_EQ(line_at_wait, "");
    EXPECT_EQ(fake_now_us, FAKE_START_US);
    EXPECT_EQ(parent_line, "ab");
}

TEST_F(MainLoopWait, IsFollowedByTheRestOfThePassAfterASignal)
{
    parent_says_bytes("ab");
    on_fake_wait = [] {
        handle_termination_signal(SIGTERM);
    };
    EXPECT_TRUE(main_loop_pass());
    EXPECT_EQ(parent_line, "ab");
    EXPECT_FALSE(main_loop_pass());
    EXPECT_EQ(recorded_waits.size(), 1U);
}

TEST_F(MainLoopWait, IsFollowedByTwoBytesAndAtMostOneRecordAPass)
{
    parent_says("a=");
    parent_says("b=");
    std::vector<std::size_t> handled_after_pass;
    for (int i = 1; i <= 4; ++i) {
        ASSERT_TRUE(main_loop_pass());
        EXPECT_EQ(parent_bytes_unread(), 8 - 2 * i);
        handled_after_pass.push_back(handled.size());
    }
    EXPECT_EQ(handled_after_pass, (std::vector<std::size_t>{0, 1, 1, 2}));
    EXPECT_EQ(handled, (Names{"a", "b"}));
}

TEST_F(MainLoopWait, IsFollowedByOneWriteOfPendingOutput)
{
    parent_output = "a=1\n\n";
    limit_next_write(SystemCall::Write, STDOUT_FILENO, 2);
    ASSERT_TRUE(main_loop_pass());
    EXPECT_EQ(parent_hears(), "a=");
    ASSERT_TRUE(main_loop_pass());
    EXPECT_EQ(parent_hears(), "1\n\n");
}

TEST_F(MainLoopWait, IsTheLastOneAtTheParentsEndOfFile)
{
    parent_closes();
    EXPECT_EQ(waits_of_a_pass(false), Waits{IDLE_US});
    EXPECT_EQ(fake_now_us, FAKE_START_US);
}

TEST_F(MainLoopWait, IsTheLastOneWhenTheParentCannotBeRead)
{
    force_result(SystemCall::Read, STDIN_FILENO, -1, EIO);
    EXPECT_EQ(waits_of_a_pass(false), Waits{IDLE_US});
}

TEST_F(MainLoopWait, IsFollowedByNoRecordWhenTheParentCannotBeWrittenTo)
{
    parent_says("a=");
    for (int i = 0; i < 3; ++i)
        read_parent_byte();
    parent_output = "x";
    force_result(SystemCall::Write, STDOUT_FILENO, -1, EIO);
    EXPECT_EQ(waits_of_a_pass(false), Waits{IDLE_US});
    EXPECT_TRUE(record_complete);
    EXPECT_EQ(handled, Names{});
}

TEST(TerminationSignal, AsksToQuitForFourSignalsOnly)
{
    std::set<int> quitting;
    for (int number = -1; number <= 64; ++number) {
        quit_requested = false;
        handle_termination_signal(number);
        if (quit_requested) quitting.insert(number);
    }
    quit_requested = false;
    EXPECT_EQ(quitting, (std::set<int>{1, 2, 13, 15}));
}
