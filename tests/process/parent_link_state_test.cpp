// What a link holds and waits for: descriptors, and what stays of an earlier backend.
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include "parent_link/parent_link.h"
#include "support/patience.h"

using namespace parent_link;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;

namespace {
class ParentLinkState : public testing::Test {
  protected:
    backend_link link;
    std::string error;

    void start_shell(const std::string& script)
    {
        ASSERT_TRUE(start_backend(link, "/bin/sh", {"-c", script}, error)) << error;
    }

    bool until_ended()
    {
        return wait_until(link, PATIENCE, [this] { return link.ended; });
    }

    std::vector<pollfd> waits_for() const
    {
        std::vector<pollfd> descriptors;
        add_poll_descriptors(link, descriptors);
        return descriptors;
    }
};

// Of this process.
std::ptrdiff_t open_descriptors()
{
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return std::distance(begin(entries), end(entries));
}

// Leaves no more descriptors than these to open while it lives.
struct descriptor_limit {
    rlimit before{};

    explicit descriptor_limit(rlim_t count)
    {
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit now = {count, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &now);
    }
    descriptor_limit(const descriptor_limit&) = delete;
    descriptor_limit& operator=(const descriptor_limit&) = delete;
    ~descriptor_limit()
    {
        setrlimit(RLIMIT_NOFILE, &before);
    }
};
} // namespace

TEST_F(ParentLinkState, NothingIsLeftOfAnEarlierBackend)
{
    start_shell("printf 'a=1\\n\\nb=2\\nc=3'; echo said >&2; kill -KILL $$");
    link.reads_output = false;
    end_input(link);
    ASSERT_TRUE(until_ended());
    ASSERT_EQ(link.records.size(), 1U);
    start_shell("read word; echo; echo d=$word; echo; read forever");
    EXPECT_THAT(link.records, IsEmpty());
    EXPECT_THAT(link.diagnostics, IsEmpty());
    EXPECT_FALSE(link.ended);
    EXPECT_EQ(link.exit_status, -1);
    EXPECT_EQ(link.end_signal, 0);
    send_bytes(link, "go\n");
    ASSERT_TRUE(wait_until(link, PATIENCE, [this] { return !link.records.empty(); }));
    std::string text;
    encode_record(link.records.front(), text);
    EXPECT_EQ(text, "d=go\n\n");
}

TEST_F(ParentLinkState, StartingAgainEndsAnEarlierBackend)
{
    start_shell("exec sleep 600");
    send_bytes(link, std::string(1000000, 'x')); // far more than a pipe holds
    const pid_t earlier = link.child.process;
    start_shell("read word; echo a=$word; echo");
    EXPECT_EQ(kill(earlier, 0), -1);
    EXPECT_EQ(errno, ESRCH);
    send_bytes(link, "go\n"); // all that this one reads
    ASSERT_TRUE(until_ended());
    ASSERT_EQ(link.records.size(), 1U);
    EXPECT_EQ(link.records.front().fields["a"], "go");
}

TEST_F(ParentLinkState, WaitsForEndOutputAndDiagnostics)
{
    start_shell("read forever");
    EXPECT_THAT(waits_for(), ElementsAre(FieldsAre(link.process_fd.number, POLLIN, 0),
                                         FieldsAre(link.pipes.output.number, POLLIN, 0),
                                         FieldsAre(link.pipes.errors.number, POLLIN, 0)));
    close_output(link);
    close_diagnostics(link);
    EXPECT_THAT(waits_for(), ElementsAre(FieldsAre(link.process_fd.number, POLLIN, 0)));
    close_backend(link);
    EXPECT_THAT(waits_for(), IsEmpty());
}

TEST_F(ParentLinkState, WaitsForNothingMoreWhereAStreamHasEnded)
{
    start_shell("exec >&- 2>&-; read forever");
    ASSERT_TRUE(wait_until(link, PATIENCE, [this] {
        return link.pipes.output.number < 0 && link.pipes.errors.number < 0;
    }));
    EXPECT_THAT(waits_for(), ElementsAre(FieldsAre(link.process_fd.number, POLLIN, 0)));
}

TEST_F(ParentLinkState, BackendHasEndedAlsoWhenAnotherKeepsItsPipes)
{
    start_shell("sleep 600 & echo a=1; echo; exit 3");
    const pid_t group = link.child.process;
    ASSERT_GT(group, 0);
    ASSERT_TRUE(until_ended());
    EXPECT_EQ(link.exit_status, 3);
    EXPECT_EQ(link.records.size(), 1U);
    kill(-group, SIGKILL);
}

TEST_F(ParentLinkState, WaitsToWriteWhileSomethingIsUnsent)
{
    start_shell("exec sleep 600"); // ends by itself at last, should the test be killed
    close_output(link);
    close_diagnostics(link);
    send_bytes(link, std::string(1000000, 'x')); // far more than a pipe holds
    EXPECT_THAT(waits_for(), ElementsAre(FieldsAre(link.process_fd.number, POLLIN, 0),
                                         FieldsAre(link.pipes.input.number, POLLOUT, 0)));
}

TEST_F(ParentLinkState, EveryDescriptorIsClosedWithTheLink)
{
    const std::ptrdiff_t before = open_descriptors();
    start_shell("read forever");
    EXPECT_EQ(open_descriptors(), before + 4);
    close_backend(link);
    EXPECT_EQ(open_descriptors(), before);
    start_shell("exit 0");
    ASSERT_TRUE(until_ended());
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(ParentLinkState, MissingDescriptorsAreReported)
{
    const std::ptrdiff_t before = open_descriptors();
    const int first_free = dup(STDIN_FILENO);
    close(first_free);
    const std::vector<std::string> arguments = {"-c", "read forever"};
    int failures = 0;
    while (failures < 20) {
        const descriptor_limit limit(static_cast<rlim_t>(first_free + failures));
        if (start_backend(link, "/bin/sh", arguments, error)) break;
        EXPECT_EQ(error, std::strerror(EMFILE));
        EXPECT_EQ(describe_end(link), "has not been started");
        ++failures;
    }
    EXPECT_GE(failures, 6); // the ends of three pipes
    close_backend(link);
    EXPECT_EQ(open_descriptors(), before);
}
