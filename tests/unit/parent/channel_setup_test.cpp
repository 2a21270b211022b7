// The descriptors at start-up and in the main loop's wait.

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/socket.h>

#include "parent/channel.h"
#include "support/backend_test.h"

namespace {
// Descriptors 0, 1 and 2 are pipes in blocking mode.
class ChannelSetup : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        put_pipe_on(STDERR_FILENO);
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO})
            fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
        reset_forced_results();
    }

    void TearDown() override
    {
        // The channel remembers null devices; the tests after this one have none.
        put_pipe_on(STDOUT_FILENO);
        put_pipe_on(STDERR_FILENO);
        prepare_parent_channel();
        for (const int end : ends)
            close(end);
        BackendTest::TearDown();
    }

    void put_pipe_on(int descriptor)
    {
        int pipe_ends[2];
        ASSERT_EQ(pipe(pipe_ends), 0);
        put_on(descriptor, pipe_ends[1]);
        ends.push_back(pipe_ends[0]);
    }

    void put_file_on(int descriptor, const char* path, int flags)
    {
        const int opened = open(path, flags | O_CLOEXEC);
        ASSERT_GE(opened, 0) << path;
        put_on(descriptor, opened);
    }

    // What is written to the pipe that was put last.
    std::string read_pipe()
    {
        char bytes[64];
        fcntl(ends.back(), F_SETFL, O_NONBLOCK);
        const ssize_t count = read(ends.back(), bytes, sizeof bytes);
        return {bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    }

  private:
    static void put_on(int descriptor, int opened)
    {
        dup2(opened, descriptor);
        close(opened);
    }

    std::vector<int> ends;
};

bool is_non_blocking(int descriptor)
{
    return (fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0;
}

std::set<int> parent_descriptors()
{
    fd_set readable;
    FD_ZERO(&readable);
    int count = 0;
    add_parent_descriptors(readable, count);
    std::set<int> descriptors;
    for (int i = 0; i < FD_SETSIZE; ++i)
        if (FD_ISSET(i, &readable)) descriptors.insert(i);
    return descriptors;
}
} // namespace

TEST_F(ChannelSetup, MakesInputAndOutputNonBlockingAndLeavesDiagnosticsBlocking)
{
    EXPECT_EQ(prepare_parent_channel(), 0);
    EXPECT_TRUE(is_non_blocking(STDIN_FILENO));
    EXPECT_TRUE(is_non_blocking(STDOUT_FILENO));
    EXPECT_FALSE(is_non_blocking(STDERR_FILENO));
}

TEST_F(ChannelSetup, KeepsTheOtherStatusFlags)
{
    put_file_on(STDOUT_FILENO, "/dev/null", O_WRONLY | O_APPEND);
    EXPECT_EQ(prepare_descriptor(STDOUT_FILENO, true), 0);
    EXPECT_EQ(fcntl(STDOUT_FILENO, F_GETFL) & (O_ACCMODE | O_APPEND | O_NONBLOCK),
              O_WRONLY | O_APPEND | O_NONBLOCK);
}

TEST_F(ChannelSetup, AcceptsPipesCharacterDevicesAndSockets)
{
    int sockets[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets), 0);
    EXPECT_EQ(prepare_descriptor(sockets[0], true), 0);
    EXPECT_TRUE(is_non_blocking(sockets[0]));
    EXPECT_EQ(prepare_descriptor(sockets[1], false), 0);
    EXPECT_FALSE(is_non_blocking(sockets[1]));
    close(sockets[0]);
    close(sockets[1]);
    put_file_on(STDIN_FILENO, "/dev/zero", O_RDONLY);
    EXPECT_EQ(prepare_descriptor(STDIN_FILENO, true), 0);
    EXPECT_EQ(prepare_descriptor(STDERR_FILENO, true), 0);
}

TEST_F(ChannelSetup, RefusesRegularFilesAndDirectories)
{
    put_file_on(STDIN_FILENO, "/proc/self/exe", O_RDONLY);
    EXPECT_EQ(prepare_descriptor(STDIN_FILENO, false), -1);
    put_file_on(STDIN_FILENO, "/", O_RDONLY);
    EXPECT_EQ(prepare_descriptor(STDIN_FILENO, false), -1);
    EXPECT_EQ(prepare_descriptor(STDIN_FILENO, true), -1);
    EXPECT_FALSE(is_non_blocking(STDIN_FILENO));
}

TEST_F(ChannelSetup, RefusesADescriptorThatIsNotOpen)
{
    close(STDIN_FILENO);
    EXPECT_EQ(prepare_descriptor(STDIN_FILENO, false), -1);
    put_file_on(STDIN_FILENO, "/dev/null", O_RDONLY);
}

TEST_F(ChannelSetup, FailsWhenTheTypeCannotBeRead)
{
    force_result(SystemCall::Fstat, STDIN_FILENO, -1, EIO);
    EXPECT_EQ(prepare_descriptor(STDIN_FILENO, true), -1);
    EXPECT_EQ(call_count(SystemCall::Fcntl, STDIN_FILENO), 0U);
}

TEST_F(ChannelSetup, FailsWhenTheStatusFlagsCannotBeRead)
{
    force_result(SystemCall::Fcntl, STDIN_FILENO, -1, EIO);
    EXPECT_EQ(prepare_descriptor(STDIN_FILENO, true), -1);
    EXPECT_EQ(call_count(SystemCall::Fcntl, STDIN_FILENO), 1U);
    EXPECT_FALSE(is_non_blocking(STDIN_FILENO));
}

TEST_F(ChannelSetup, FailsWhenTheStatusFlagsCannotBeWritten)
{
    force_result(SystemCall::Fcntl, STDIN_FILENO, O_RDONLY);
    force_result(SystemCall::Fcntl, STDIN_FILENO, -1, EPERM);
    EXPECT_EQ(prepare_descriptor(STDIN_FILENO, true), -1);
}

TEST_F(ChannelSetup, LeavesTheStatusFlagsAloneUnlessAsked)
{
    EXPECT_EQ(prepare_descriptor(STDERR_FILENO, false), 0);
    EXPECT_EQ(call_count(SystemCall::Fcntl, STDERR_FILENO), 0U);
}

TEST_F(ChannelSetup, StopsAtTheFirstDescriptorThatFails)
{
    put_file_on(STDIN_FILENO, "/", O_RDONLY);
    EXPECT_EQ(prepare_parent_channel(), -1);
    EXPECT_FALSE(is_non_blocking(STDOUT_FILENO));
    put_file_on(STDIN_FILENO, "/dev/zero", O_RDONLY);
    put_file_on(STDOUT_FILENO, "/", O_RDONLY);
    EXPECT_EQ(prepare_parent_channel(), -1);
    EXPECT_TRUE(is_non_blocking(STDIN_FILENO));
    EXPECT_EQ(call_count(SystemCall::Fstat, STDERR_FILENO), 0U);
}

TEST_F(ChannelSetup, RefusesDiagnosticsToARegularFile)
{
    put_file_on(STDERR_FILENO, "/proc/self/exe", O_RDONLY);
    EXPECT_EQ(prepare_parent_channel(), -1);
    EXPECT_TRUE(is_non_blocking(STDOUT_FILENO));
}

TEST_F(ChannelSetup, MakesStandardErrorUnbuffered)
{
    static char buffer[256];
    std::setvbuf(stderr, buffer, _IOFBF, sizeof buffer);
    EXPECT_EQ(prepare_parent_channel(), 0);
    std::fputs("text", stderr);
    EXPECT_EQ(read_pipe(), "text");
    std::setbuf(stderr, nullptr);
}

TEST_F(ChannelSetup, LeavesStandardErrorBufferedWhenItFails)
{
    static char buffer[256];
    std::setvbuf(stderr, buffer, _IOFBF, sizeof buffer);
    force_result(SystemCall::Fstat, STDERR_FILENO, -1, EIO);
    EXPECT_EQ(prepare_parent_channel(), -1);
    std::fputs("text", stderr);
    EXPECT_EQ(read_pipe(), "");
    std::setbuf(stderr, nullptr);
}

TEST_F(ChannelSetup, WorksWithoutAStandardErrorStream)
{
    std::FILE* const stream = std::exchange(stderr, nullptr);
    const int result = prepare_parent_channel();
    stderr = stream;
    EXPECT_EQ(result, 0);
}

TEST_F(ChannelSetup, MarksItsThreeDescriptors)
{
    ASSERT_EQ(prepare_parent_channel(), 0);
    EXPECT_EQ(parent_descriptors(), (std::set<int>{0, 1, 2}));
}

TEST_F(ChannelSetup, RaisesTheDescriptorCountToThreeAndNeverLowersIt)
{
    for (const auto& [before, after] : {std::pair{0, 3}, {2, 3}, {3, 3}, {4, 4}, {100, 100}}) {
        fd_set readable;
        FD_ZERO(&readable);
        int count = before;
        add_parent_descriptors(readable, count);
        EXPECT_EQ(count, after);
    }
}

TEST_F(ChannelSetup, KeepsTheDescriptorsThatAreMarkedAlready)
{
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(17, &readable);
    int count = 18;
    add_parent_descriptors(readable, count);
    EXPECT_TRUE(FD_ISSET(17, &readable));
}

// It is readable at any time and would end every wait at once.
TEST_F(ChannelSetup, LeavesTheNullDeviceOutOfTheReadSet)
{
    put_file_on(STDERR_FILENO, "/dev/null", O_WRONLY);
    ASSERT_EQ(prepare_parent_channel(), 0);
    EXPECT_EQ(parent_descriptors(), (std::set<int>{0, 1}));
    put_file_on(STDOUT_FILENO, "/dev/null", O_WRONLY);
    ASSERT_EQ(prepare_parent_channel(), 0);
    EXPECT_EQ(parent_descriptors(), (std::set<int>{0}));
    put_pipe_on(STDERR_FILENO);
    ASSERT_EQ(prepare_parent_channel(), 0);
    EXPECT_EQ(parent_descriptors(), (std::set<int>{0, 2}));
}

// The end of the input must be noticed, and other devices may have something to say.
TEST_F(ChannelSetup, KeepsANullDeviceForInputAndOtherDevicesInTheReadSet)
{
    put_file_on(STDIN_FILENO, "/dev/null", O_RDONLY);
    put_file_on(STDOUT_FILENO, "/dev/zero", O_RDWR);
    put_file_on(STDERR_FILENO, "/dev/full", O_RDWR);
    ASSERT_EQ(prepare_parent_channel(), 0);
    EXPECT_EQ(parent_descriptors(), (std::set<int>{0, 1, 2}));
}
