#include <cerrno>
#include <csignal>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "parent_link/parent_link.h"
#include "support/child_process.h"
#include "support/patience.h"
#include "support/temporary_directory.h"
#include "tools/common/lines.h"

using namespace parent_link;
using namespace std::chrono_literals;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Field;
using testing::IsEmpty;

namespace {
// For a wait that must end at once: the test's own time limit is reached first.
constexpr auto FOR_EVER = 24h;
} // namespace

class ParentLink : public testing::Test {
  protected:
    temporary_directory directory;
    backend_link link;
    std::string error;

    void start_with_config(const std::string& text)
    {
        const std::string config = directory.file("router.conf", text);
        ASSERT_TRUE(start_backend(link, backend_program(), {"--file", config}, error)) << error;
    }

    void start_shell(const std::string& script)
    {
        ASSERT_TRUE(start_backend(link, "/bin/sh", {"-c", script}, error)) << error;
    }

    ParentRecord hear()
    {
        ParentRecord record;
        if (!wait_until(link, PATIENCE, [this] { return !link.records.empty(); })) return record;
        record = link.records.front();
        link.records.pop_front();
        return record;
    }

    bool wait_for_end()
    {
        return wait_until(link, PATIENCE, [this] { return link.ended; });
    }
};

namespace {
ParentRecord request(const std::string& command, const std::string& id)
{
    ParentRecord record;
    record.type = "command";
    record.command = command;
    record.id = id;
    return record;
}

std::string text(const ParentRecord& record)
{
    std::string result;
    encode_record(record, result);
    return result;
}
} // namespace

TEST_F(ParentLink, HandsOutInfoRecordOnStart)
{
    start_with_config("inputs=4\noutputs=3\n");
    const ParentRecord info = hear();
    EXPECT_EQ(info.command, "info");
    EXPECT_EQ(info.type, "message");
    EXPECT_EQ(info.fields.at("inputs"), "4");
    EXPECT_EQ(info.fields.at("outputs"), "3");
}

TEST_F(ParentLink, HandsOutReplyToCommand)
{
    start_with_config("");
    ASSERT_EQ(hear().command, "info");
    send_record(link, request("dance", "17"));
    EXPECT_EQ(text(hear()),
              "*COMMAND=dance\n*ERROR=Unknown command dance\n*TYPE=reply\n*ID=17\n\n");
}

TEST_F(ParentLink, HandsOutReplyWithoutCommand)
{
    start_with_config("");
    ASSERT_EQ(hear().command, "info");
    ParentRecord report = request("report", "");
    report.fields["what"] = "inputs";
    send_record(link, report);
    EXPECT_EQ(text(hear()), "*TYPE=reply\n\n");
}

TEST_F(ParentLink, SendsRawBytes)
{
    start_with_config("");
    ASSERT_EQ(hear().command, "info");
    for (const char byte : std::string_view("*COMMAND=sing\r\n*TYPE=message\n\n"))
        send_bytes(link, {&byte, 1});
    EXPECT_EQ(hear().error, "Message sing ignored");
}

TEST_F(ParentLink, HandsOutDiagnosticsLines)
{
    start_with_config("inputs=4\noutputs=3\n");
    ASSERT_TRUE(wait_until(link, PATIENCE, [this] { return link.diagnostics.size() >= 2; }));
    EXPECT_THAT(link.diagnostics, ElementsAre("<DBG>Changing number of inputs to 4",
                                              "<DBG>Changing number of outputs to 3"));
}

TEST_F(ParentLink, EndOfInputEndsBackendWithStatusZero)
{
    start_with_config("");
    ASSERT_EQ(hear().command, "info");
    end_input(link);
    EXPECT_EQ(link.pipes.input.number, -1); // at once: nothing was unsent
    ASSERT_TRUE(wait_for_end());
    EXPECT_EQ(link.exit_status, 0);
    EXPECT_EQ(link.end_signal, 0);
    EXPECT_EQ(describe_end(link), "exited with status 0");
}

TEST_F(ParentLink, EndOfInputComesAfterQueuedBytes)
{
    start_shell("count=$(wc -c); echo count=$count; echo");
    send_bytes(link, std::string(1000000, 'x'));
    end_input(link);
    send_bytes(link, "too late");
    EXPECT_EQ(hear().fields["count"], "1000000");
}

TEST_F(ParentLink, TerminationSignalEndsBackend)
{
    start_with_config("");
    ASSERT_EQ(hear().command, "info");
    send_signal(link, SIGTERM);
    ASSERT_TRUE(wait_for_end());
    EXPECT_EQ(link.exit_status, 0);
}

TEST_F(ParentLink, NoticesSignalThatKilled)
{
    start_with_config("");
    send_signal(link, SIGKILL);
    ASSERT_TRUE(wait_for_end());
    EXPECT_EQ(link.exit_status, -1);
    EXPECT_EQ(link.end_signal, SIGKILL);
    EXPECT_EQ(describe_end(link), "was ended by signal 9 (Killed)");
}

TEST_F(ParentLink, NoticesStartUpFailure)
{
    ASSERT_TRUE(start_backend(link, backend_program(), {"--help"}, error)) << error;
    ASSERT_TRUE(wait_for_end());
    EXPECT_EQ(link.exit_status, 1);
    EXPECT_THAT(link.diagnostics,
                ElementsAre("Grass Valley routing switcher backend process.",
                            built_program("routing_switcher_backend") + ": [options]",
                            " --file <path>"));
}

TEST_F(ParentLink, ReportsProgramThatDoesNotExist)
{
    EXPECT_FALSE(start_backend(link, (directory.path / "nothing").string(), {}, error));
    EXPECT_THAT(error, EndsWith("/nothing: No such file or directory"));
    EXPECT_EQ(describe_end(link), "has not been started");
    EXPECT_FALSE(wait_for_event(link, FOR_EVER));
    std::vector<pollfd> descriptors;
    add_poll_descriptors(link, descriptors);
    EXPECT_THAT(descriptors, IsEmpty());
}

TEST_F(ParentLink, StartsAgainAfterEnd)
{
    ASSERT_TRUE(start_backend(link, backend_program(), {"--help"}, error)) << error;
    ASSERT_TRUE(wait_for_end());
    start_with_config("inputs=5\n");
    EXPECT_EQ(hear().fields["inputs"], "5");
    EXPECT_FALSE(link.ended);
    EXPECT_EQ(describe_end(link), "runs");
}

TEST_F(ParentLink, CarriesLargeBacklogBothWays)
{
    static constexpr int REQUESTS = 5000; // more than the pipes hold
    start_with_config("");
    for (int id = 0; id < REQUESTS; ++id)
        send_record(link, request("dance", std::to_string(id)));
    ASSERT_EQ(hear().command, "info");
    for (int id = 0; id < REQUESTS; ++id)
        ASSERT_EQ(hear().id, std::to_string(id));
    EXPECT_EQ(link.unsent, "");
}

TEST_F(ParentLink, LeavesRecordsInThePipeWhileItDoesNotRead)
{
    start_shell("echo a=1; echo; echo written >&2; read line; echo b=2; echo");
    link.reads_output = false;
    ASSERT_TRUE(wait_until(link, PATIENCE, [this] { return !link.diagnostics.empty(); }));
    EXPECT_THAT(link.records, IsEmpty());
    link.reads_output = true;
    EXPECT_EQ(hear().fields.count("a"), 1U);
    link.reads_output = false;
    send_bytes(link, "go\n");
    ASSERT_TRUE(wait_until(link, PATIENCE, [this] { return link.ended; }));
    EXPECT_EQ(hear().fields.count("b"), 1U); // nothing is lost with its end
}

TEST_F(ParentLink, WaitsForNothingThatItDoesNotRead)
{
    start_shell("echo a=1; echo; read forever");
    link.reads_output = false;
    std::vector<pollfd> descriptors;
    add_poll_descriptors(link, descriptors);
    EXPECT_THAT(descriptors,
                Each(Field(&pollfd::fd, AnyOf(link.process_fd.number, link.pipes.errors.number))));
    EXPECT_EQ(descriptors.size(), 2U);
}

TEST_F(ParentLink, RecordBeginsWithALineThatIsNotEmpty)
{
    start_shell("printf '\\n\\na=1\\n\\n\\n\\nb=2\\n\\n\\n'");
    ASSERT_TRUE(wait_for_end());
    ASSERT_EQ(link.records.size(), 2U);
    EXPECT_EQ(text(link.records[0]), "a=1\n\n");
    EXPECT_EQ(text(link.records[1]), "b=2\n\n");
}

TEST_F(ParentLink, CutsOverlongLine)
{
    start_shell("printf a=; head -c 3000000 /dev/zero | tr '\\0' x; echo; echo");
    EXPECT_EQ(hear().fields["a"].size(), common::LONGEST_LINE + 1 - std::strlen("a="));
}

TEST_F(ParentLink, HandsOutEverythingWrittenBeforeEnd)
{
    start_shell("i=0; while [ $i -lt 300 ]; do i=$((i+1)); echo a=$i; echo; done;"
                "echo last >&2; printf words >&2; exit 7");
    ASSERT_TRUE(wait_for_end());
    EXPECT_EQ(link.exit_status, 7);
    EXPECT_FALSE(wait_until(link, FOR_EVER, [] { return false; }));
    ASSERT_EQ(link.records.size(), 300U);
    EXPECT_EQ(link.records.back().fields["a"], "300");
    EXPECT_THAT(link.diagnostics, ElementsAre("last", "words"));
}

TEST_F(ParentLink, WritingToBackendThatHasGoneIsHarmless)
{
    signal(SIGPIPE, SIG_DFL); // whoever started the tests may have it ignored
    start_shell("exec <&-; echo closed=1; echo; exec sleep 600");
    ASSERT_EQ(hear().fields["closed"], "1");
    send_bytes(link, "nobody reads this");
    EXPECT_EQ(link.pipes.input.number, -1);
    EXPECT_EQ(link.unsent, "");
    send_bytes(link, "nor this");
    EXPECT_EQ(link.unsent, "");
}

TEST_F(ParentLink, MessagesAreKeptWhole)
{
    link.keeps_messages = true;
    start_shell("printf 'one\\nmessage\\n' >&2; printf 'half ' >&2; printf 'a line\\n' >&2");
    siginfo_t end{}; // all of them are there when the first is read
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(link.child.process), &end, WEXITED | WNOWAIT), 0);
    ASSERT_TRUE(wait_for_end());
    EXPECT_THAT(link.diagnostics, ElementsAre("one\nmessage", "half a line"));
    EXPECT_EQ(link.pipes.errors.number, -1);
}

// However they came, one look takes all that were there when it began.
TEST_F(ParentLink, MessagesAreReadUntilThereAreNone)
{
    link.keeps_messages = true;
    start_shell("echo a >&2; echo b >&2; printf 'n=1\n\n'; read go; echo c >&2; exec 2>&-;"
                "printf 'n=2\n\n'; read go");
    const auto serve_when_answered = [this] {
        pollfd answered{link.pipes.output.number, POLLIN, 0};
        ASSERT_EQ(poll(&answered, 1, PATIENCE_MS), 1);
        serve_backend(link);
    };
    serve_when_answered();
    EXPECT_THAT(link.diagnostics, ElementsAre("a", "b"));
    send_bytes(link, "\n");
    serve_when_answered();
    EXPECT_THAT(link.diagnostics, ElementsAre("a", "b", "c"));
    EXPECT_EQ(link.pipes.errors.number, -1);
}

TEST_F(ParentLink, MessagesOfADescendantAreNotWaitedFor)
{
    link.keeps_messages = true;
    start_shell("exec 3<&0; { read go <&3; } & echo a >&2"); // it ends with our end of the pipe
    ASSERT_TRUE(wait_for_end());
    EXPECT_THAT(link.diagnostics, ElementsAre("a"));
}

TEST_F(ParentLink, ClosedOutputEndsBackend)
{
    start_with_config("");
    ASSERT_EQ(hear().command, "info");
    close_output(link);
    send_record(link, request("dance", "1"));
    ASSERT_TRUE(wait_for_end());
    EXPECT_EQ(link.exit_status, 0);
}

TEST_F(ParentLink, ClosedDiagnosticsIsSeenByWriter)
{
    start_shell("trap '' PIPE; read go; { echo words >&2; } || { echo failed=1; echo; }");
    close_diagnostics(link);
    send_bytes(link, "go\n");
    EXPECT_EQ(hear().fields["failed"], "1");
}

TEST_F(ParentLink, WaitForEventEndsWithTimeOut)
{
    start_shell("read forever");
    EXPECT_FALSE(wait_for_event(link, 0ms));
    EXPECT_FALSE(wait_for_event(link, 1ms));
    EXPECT_FALSE(link.ended);
}

TEST_F(ParentLink, WaitForEventSeesWhatIsThereWhenItsTimeIsOver)
{
    start_shell("printf 'a=1\\n\\n'; read forever");
    pollfd output = {link.pipes.output.number, POLLIN, 0};
    ASSERT_EQ(poll(&output, 1, PATIENCE_MS), 1);
    EXPECT_TRUE(wait_for_event(link, -1s));
    EXPECT_FALSE(wait_for_event(link, 0ms));
}

TEST_F(ParentLink, WaitForEventSeesRecordLineAndEnd)
{
    start_shell("echo a=1; echo; read go; echo words >&2; read go; exit 3");
    ASSERT_TRUE(wait_for_event(link, PATIENCE));
    EXPECT_EQ(link.records.size(), 1U);
    send_bytes(link, "go\n");
    ASSERT_TRUE(wait_for_event(link, PATIENCE));
    EXPECT_THAT(link.diagnostics, ElementsAre("words"));
    send_bytes(link, "go\n");
    ASSERT_TRUE(wait_for_event(link, PATIENCE));
    EXPECT_EQ(link.exit_status, 3);
    EXPECT_FALSE(wait_for_event(link, FOR_EVER));
}

TEST_F(ParentLink, CloseKillsAndReaps)
{
    // Ends by itself at last, should the test be killed.
    start_shell("trap '' TERM; echo ready=1; echo; exec sleep 600");
    ASSERT_EQ(hear().fields["ready"], "1");
    const pid_t process = link.child.process;
    close_backend(link);
    EXPECT_EQ(link.end_signal, SIGKILL);
    EXPECT_EQ(waitpid(process, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    EXPECT_EQ(link.pipes.input.number, -1);
    EXPECT_EQ(link.pipes.output.number, -1);
}

// A second backend that held the first one's pipes would keep its input from ever ending.
TEST_F(ParentLink, BackendInheritsNoPipeOfAnother)
{
    start_with_config("");
    ASSERT_EQ(hear().command, "info");
    backend_link other;
    ASSERT_TRUE(start_backend(other, "/bin/sh", {"-c", "read forever"}, error)) << error;
    end_input(link);
    ASSERT_TRUE(wait_for_end());
    EXPECT_EQ(link.exit_status, 0);
    EXPECT_EQ(describe_end(other), "runs");
}

TEST_F(ParentLink, BackendHasDefaultSignals)
{
    start_shell("kill -PIPE $$; exit 3");
    ASSERT_TRUE(wait_for_end());
    EXPECT_EQ(link.end_signal, SIGPIPE);
}

TEST_F(ParentLink, BackendHasProcessGroupOfItsOwn)
{
    start_shell("echo ready=1; echo; read forever");
    ASSERT_EQ(hear().fields["ready"], "1");
    EXPECT_EQ(getpgid(link.child.process), link.child.process);
}
