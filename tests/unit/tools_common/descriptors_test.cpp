#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

#include "support/forced_results.h"
#include "tools/common/descriptors.h"

using namespace common;

namespace {
bool is_open(int descriptor)
{
    return fcntl(descriptor, F_GETFD) >= 0;
}

class Pipe : public testing::Test {
  protected:
    owned_descriptor reads;
    owned_descriptor writes;
    std::string text = "before ";
    std::string error;

    Pipe()
    {
        EXPECT_TRUE(open_pipe(reads, writes, error)) << error;
    }
};
} // namespace

TEST_F(Pipe, IsClosedWithItsRecordsAndInPrograms)
{
    const int number = reads.number;
    EXPECT_EQ(fcntl(number, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(writes.number, F_GETFD), FD_CLOEXEC);
    {
        const owned_descriptor moved(std::move(reads));
        EXPECT_EQ(moved.number, number);
        EXPECT_TRUE(is_open(number));
    }
    EXPECT_FALSE(is_open(number));
    EXPECT_EQ(reads.number, -1);
    const int other = writes.number;
    writes.reset();
    EXPECT_FALSE(is_open(other));
    EXPECT_EQ(writes.number, -1);
}

TEST_F(Pipe, AssignedRecordKeepsOneOfTwoDescriptors)
{
    const int old_number = reads.number;
    const int number = writes.number;
    reads = std::move(writes);
    EXPECT_EQ(reads.number, number);
    writes.reset();
    EXPECT_FALSE(is_open(old_number));
    EXPECT_TRUE(is_open(number));
}

TEST_F(Pipe, IsReadToItsEnd)
{
    std::thread writer([this] {
        EXPECT_TRUE(write_all(writes.number, std::string(300'000, 'x')));
        writes.reset();
    });
    read_to_end(reads.number, text);
    writer.join();
    EXPECT_EQ(text, "before " + std::string(300'000, 'x'));
}

TEST_F(Pipe, GivesWhatIsThereWithoutWaiting)
{
    ASSERT_TRUE(set_nonblocking(reads.number, error)) << error;
    EXPECT_TRUE(read_available(reads.number, text));
    EXPECT_EQ(read_some(reads.number, text), read_outcome::nothing_yet);
    EXPECT_EQ(text, "before ");
    EXPECT_TRUE(write_all(writes.number, "some"));
    EXPECT_TRUE(read_available(reads.number, text));
    EXPECT_TRUE(write_all(writes.number, " more"));
    writes.reset();
    EXPECT_EQ(read_some(reads.number, text), read_outcome::read);
    EXPECT_EQ(read_some(reads.number, text), read_outcome::ended);
    EXPECT_FALSE(read_available(reads.number, text));
    EXPECT_EQ(text, "before some more");
}

TEST_F(Pipe, CallThatIsInterruptedIsMadeAgain)
{
    force_result(SystemCall::Write, writes.number, -1, EINTR);
    limit_next_write(SystemCall::Write, writes.number, 3);
    force_result(SystemCall::Write, writes.number, -1, EINTR);
    EXPECT_TRUE(write_all(writes.number, "some"));
    force_result(SystemCall::Read, reads.number, -1, EINTR);
    EXPECT_EQ(read_some(reads.number, text), read_outcome::read);
    EXPECT_EQ(text, "before some");
}

TEST_F(Pipe, ErrorsHaveTheirText)
{
    EXPECT_FALSE(set_nonblocking(-1, error));
    EXPECT_EQ(error, "Bad file descriptor");
    EXPECT_FALSE(write_all(-1, "x"));
    EXPECT_EQ(read_some(-1, text), read_outcome::ended);
}

TEST(MessagePipe, KeepsApartWhatEachWriteWrote)
{
    owned_descriptor reads;
    owned_descriptor writes;
    std::string text;
    ASSERT_TRUE(open_message_pipe(reads, writes, text));
    EXPECT_EQ(fcntl(reads.number, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(writes.number, F_GETFD), FD_CLOEXEC);
    ASSERT_TRUE(write_all(writes.number, "one\ntwo\n"));
    ASSERT_TRUE(write_all(writes.number, "three\n"));
    writes.reset();
    EXPECT_EQ(read_some(reads.number, text), read_outcome::read);
    EXPECT_EQ(text, "one\ntwo\n");
    EXPECT_EQ(read_some(reads.number, text), read_outcome::read);
    EXPECT_EQ(text, "one\ntwo\nthree\n");
    EXPECT_EQ(read_some(reads.number, text), read_outcome::ended);
}

// So that whoever reads as many has read all that stood there when it began.
TEST(MessagePipe, HoldsNoMoreMessagesThanItSays)
{
    owned_descriptor reads;
    owned_descriptor writes;
    std::string error;
    ASSERT_TRUE(open_message_pipe(reads, writes, error));
    ASSERT_TRUE(set_nonblocking(writes.number, error));
    std::size_t count = 0;
    while (count <= MESSAGES_BETWEEN && write_all(writes.number, "x"))
        ++count;
    EXPECT_GE(count, 200U);
    EXPECT_LE(count, MESSAGES_BETWEEN);
}
