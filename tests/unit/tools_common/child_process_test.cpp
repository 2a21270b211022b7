#include <csignal>
#include <gmock/gmock.h>
#include <unistd.h>

#include "tools/common/child_process.h"

using namespace common;

namespace {
class ChildProcess : public testing::Test {
  protected:
    child_process child;
    child_pipes pipes;
    std::string error;

    void start_shell(const std::string& script, error_output errors)
    {
        ASSERT_TRUE(start_on_pipes(child, pipes, {"sh", "-c", script}, errors, error)) << error;
    }

    static std::string all_of(const owned_descriptor& output)
    {
        std::string text;
        read_to_end(output.number, text);
        return text;
    }
};
} // namespace

TEST_F(ChildProcess, HasPipesAndAStatus)
{
    start_shell("cat; echo no >&2; exit 3", error_output::piped);
    EXPECT_TRUE(write_all(pipes.input.number, "yes"));
    pipes.input.reset();
    EXPECT_EQ(all_of(pipes.output), "yes");
    EXPECT_EQ(all_of(pipes.errors), "no\n");
    EXPECT_EQ(status_at_end(child), 3);
    EXPECT_EQ(child.process, -1);
}

TEST_F(ChildProcess, ErrorOutputIsDiscardedOrOurs)
{
    start_shell("readlink /proc/self/fd/2; echo no >&2", error_output::discarded);
    EXPECT_EQ(all_of(pipes.output), "/dev/null\n");
    EXPECT_EQ(status_at_end(child), 0);
    start_shell("test /proc/self/fd/2 -ef /proc/$PPID/fd/2", error_output::inherited);
    EXPECT_EQ(pipes.errors.number, -1);
    EXPECT_EQ(status_at_end(child), 0);
}

TEST_F(ChildProcess, InheritsNeitherBlockedNorIgnoredSignals)
{
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    const auto handler = std::signal(SIGUSR1, SIG_IGN);
    start_shell("kill -TERM $$", error_output::inherited);
    EXPECT_EQ(status_at_end(child), -SIGTERM);
    start_shell("kill -USR1 $$", error_output::inherited);
    EXPECT_EQ(status_at_end(child), -SIGUSR1);
    std::signal(SIGUSR1, handler);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

TEST_F(ChildProcess, HasAProcessGroupOfItsOwn)
{
    start_shell("read line", error_output::inherited);
    EXPECT_EQ(getpgid(child.process), child.process);
    kill(child.process, SIGTERM);
    EXPECT_EQ(status_at_end(child), -SIGTERM);
}

TEST_F(ChildProcess, DescriptorsMayBeOurs)
{
    const std::string script = "for i in 0 1 2; do test /proc/self/fd/$i -ef /proc/$PPID/fd/$i || "
                               "exit 1; done";
    ASSERT_TRUE(start_child(child, {"sh", "-c", script}, {0, 1, 2}, error)) << error;
    EXPECT_EQ(status_at_end(child), 0);
}

TEST_F(ChildProcess, EndIsAwaitedThroughSignals)
{
    struct sigaction before {};
    struct sigaction interrupting {};
    interrupting.sa_handler = [](int) {
    };
    sigaction(SIGUSR1, &interrupting, &before);
    start_shell("for i in 1 2 3 4 5; do kill -USR1 $PPID; sleep 0.01; done; exit 3",
                error_output::inherited);
    EXPECT_EQ(status_at_end(child), 3);
    sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(ChildProcess, DescriptorMayBeLeftClosed)
{
    ASSERT_TRUE(start_child(child, {"sh", "-c", "test ! -e /proc/self/fd/0"}, {-1, 1, 2}, error));
    EXPECT_EQ(status_at_end(child), 0);
}

TEST_F(ChildProcess, ThatCannotBeRunIsReported)
{
    EXPECT_FALSE(start_on_pipes(child, pipes, {"/no/program"}, error_output::piped, error));
    EXPECT_EQ(error, "Cannot run /no/program: No such file or directory");
    EXPECT_EQ(child.process, -1);
    EXPECT_EQ(pipes.input.number, -1);
}

TEST_F(ChildProcess, IsKilledWithItsRecord)
{
    pid_t process = -1;
    {
        child_process scoped;
        ASSERT_TRUE(start_child(scoped, {"sleep", "600"}, {0, 1, 2}, error)) << error;
        process = scoped.process;
    }
    EXPECT_EQ(kill(process, 0), -1);
}
