// Records on their way to the parent.

#include <cerrno>
#include <csignal>
#include <rapidcheck.h>

#include "parent/channel.h"
#include "support/backend_test.h"

namespace {
class ChannelOutput : public BackendTest {
  protected:
    // Leaves no room in the pipe; what it is filled with is skipped by skip_filling.
    void fill_the_pipe()
    {
        const std::string page(4096, '.');
        while (write(STDOUT_FILENO, page.data(), page.size()) > 0)
            filling += page.size();
        reset_forced_results();
    }

    std::string parent_hears_behind_filling()
    {
        std::string heard = parent_hears();
        const std::size_t skipped = std::min(filling, heard.size());
        filling -= skipped;
        return heard.substr(skipped);
    }

  private:
    std::size_t filling = 0;
};

std::size_t write_calls()
{
    return call_count(SystemCall::Write, STDOUT_FILENO);
}

void send_field(const std::string& name, const std::string& value)
{
    ParentRecord record;
    record.fields[name] = value;
    send_parent_record(record);
}
} // namespace

TEST_F(ChannelOutput, WritesARecordAtOnceInOneWrite)
{
    send_field("a", "1");
    EXPECT_EQ(parent_hears(), "a=1\n\n");
    EXPECT_EQ(write_calls(), 1U);
    EXPECT_EQ(parent_output, "");
    EXPECT_EQ(parent_output_written, 0U);
}

TEST_F(ChannelOutput, WritesNothingWhenNothingIsPending)
{
    EXPECT_EQ(flush_parent_output(), 0);
    EXPECT_EQ(write_calls(), 0U);
    EXPECT_FALSE(parent_output_pending());
}

TEST_F(ChannelOutput, KeepsTheRestOfAPartialWrite)
{
    limit_next_write(SystemCall::Write, STDOUT_FILENO, 2);
    send_field("a", "1");
    EXPECT_EQ(write_calls(), 1U);
    EXPECT_EQ(parent_hears(), "a=");
    EXPECT_TRUE(parent_output_pending());
    EXPECT_EQ(parent_output_written, 2U);
    EXPECT_EQ(flush_parent_output(), 0);
    EXPECT_EQ(parent_hears(), "1\n\n");
    EXPECT_FALSE(parent_output_pending());
    EXPECT_EQ(parent_output_written, 0U);
}

TEST_F(ChannelOutput, MakesOneWriteACall)
{
    send_field("a", "1");
    for (const std::size_t length : {1U, 1U, 1U})
        limit_next_write(SystemCall::Write, STDOUT_FILENO, length);
    send_field("b", "2");
    EXPECT_EQ(flush_parent_output(), 0);
    EXPECT_EQ(flush_parent_output(), 0);
    EXPECT_EQ(write_calls(), 4U);
    EXPECT_EQ(parent_hears(), "a=1\n\nb=2");
}

TEST_F(ChannelOutput, OffersAllUnsentBytesInOneWrite)
{
    force_result(SystemCall::Write, STDOUT_FILENO, -1, EAGAIN);
    send_field("a", std::string(30'000, 'x'));
    send_field("b", "2");
    EXPECT_EQ(greatest_length(SystemCall::Write, STDOUT_FILENO), 30'009U);
    EXPECT_EQ(parent_hears(), "a=" + std::string(30'000, 'x') + "\n\nb=2\n\n");
}

TEST_F(ChannelOutput, SendsRecordsInOrderOnceTheParentReads)
{
    fill_the_pipe();
    std::string expected;
    for (int i = 0; i < 3000; ++i) {
        send_field("n", std::to_string(i));
        expected += "n=" + std::to_string(i) + "\n\n";
    }
    EXPECT_EQ(parent_output, expected);
    std::string heard = parent_hears_behind_filling();
    while (parent_output_pending()) {
        ASSERT_EQ(service_parent_channel(), 0);
        heard += parent_hears_behind_filling();
    }
    EXPECT_EQ(heard, expected);
}

TEST_F(ChannelOutput, TreatsAFullPipeAndAnInterruptionAsAWriteOfNothing)
{
    parent_output = "a=1\n\n";
    force_result(SystemCall::Write, STDOUT_FILENO, -1, EAGAIN);
    EXPECT_EQ(flush_parent_output(), 0);
    force_result(SystemCall::Write, STDOUT_FILENO, -1, EINTR);
    EXPECT_EQ(flush_parent_output(), 0);
    EXPECT_EQ(parent_output, "a=1\n\n");
    EXPECT_EQ(parent_output_written, 0U);
    EXPECT_EQ(write_calls(), 2U);
}

TEST_F(ChannelOutput, FailsOnAnyOtherErrorAndKeepsTheBytes)
{
    parent_output = "a=1\n\n";
    parent_output_written = 2;
    for (const int error : {EPIPE, EIO, ECONNRESET}) {
        force_result(SystemCall::Write, STDOUT_FILENO, -1, error);
        EXPECT_EQ(flush_parent_output(), -1);
    }
    EXPECT_EQ(parent_output, "a=1\n\n");
    EXPECT_EQ(parent_output_written, 2U);
    EXPECT_EQ(parent_hears(), "");
}

TEST_F(ChannelOutput, FailsOnAWriteOfNothingWhateverErrnoWas)
{
    parent_output = "a=1\n\n";
    errno = EAGAIN;
    force_result(SystemCall::Write, STDOUT_FILENO, 0, EAGAIN);
    EXPECT_EQ(flush_parent_output(), -1);
    EXPECT_EQ(parent_output, "a=1\n\n");
    EXPECT_EQ(parent_output_written, 0U);
}

TEST_F(ChannelOutput, KeepsARecordQueuedThatFailedToBeSent)
{
    force_result(SystemCall::Write, STDOUT_FILENO, -1, EIO);
    send_field("a", "1");
    EXPECT_EQ(write_calls(), 1U);
    EXPECT_EQ(parent_hears(), "");
    send_field("b", "2");
    EXPECT_EQ(parent_hears(), "a=1\n\nb=2\n\n");
}

TEST_F(ChannelOutput, FailsWhenTheParentHasClosedItsEnd)
{
    const auto previous = std::signal(SIGPIPE, SIG_IGN);
    parent_closes_output();
    parent_output = "a=1\n\n";
    EXPECT_EQ(flush_parent_output(), -1);
    EXPECT_EQ(service_parent_channel(), -1);
    EXPECT_TRUE(parent_output_pending());
    std::signal(SIGPIPE, previous);
}

TEST_F(ChannelOutput, IsServedAfterTheInput)
{
    parent_says_bytes("x");
    parent_output = "a=1\n\n";
    EXPECT_EQ(service_parent_channel(), 0);
    EXPECT_EQ(parent_line, "x");
    EXPECT_EQ(parent_hears(), "a=1\n\n");
    force_result(SystemCall::Read, STDIN_FILENO, -1, EIO);
    parent_output = "b=2\n\n";
    EXPECT_EQ(service_parent_channel(), -1);
    EXPECT_EQ(parent_hears(), "");
}

TEST_F(ChannelOutput, FailsAServiceThatCannotWrite)
{
    parent_output = "a=1\n\n";
    force_result(SystemCall::Write, STDOUT_FILENO, 0);
    EXPECT_EQ(service_parent_channel(), -1);
}

TEST_F(ChannelOutput, IsPendingUntilItsLastByteIsWritten)
{
    limit_next_write(SystemCall::Write, STDOUT_FILENO, 4);
    send_field("a", "1");
    EXPECT_TRUE(parent_output_pending());
    EXPECT_EQ(flush_parent_output(), 0);
    EXPECT_FALSE(parent_output_pending());
}

TEST_F(ChannelOutput, KeepsTheWrittenFrontWhileItIsSmallOrLessThanTheRest)
{
    for (const auto& [size, written] : {std::pair{60'000, 40'000}, std::pair{80'000, 65'536},
                                        std::pair{140'000, 70'000}, std::pair{200'000, 65'537}}) {
        parent_output = std::string(static_cast<std::size_t>(size), 'a');
        parent_output_written = 0;
        force_result(SystemCall::Write, STDOUT_FILENO, written);
        EXPECT_EQ(flush_parent_output(), 0);
        EXPECT_EQ(parent_output.size(), static_cast<std::size_t>(size));
        EXPECT_EQ(parent_output_written, static_cast<std::size_t>(written));
    }
}

TEST_F(ChannelOutput, DropsAWrittenFrontThatIsLargeAndMoreThanTheRest)
{
    for (const auto& [size, written] : {std::pair{80'000, 65'537}, std::pair{140'000, 70'001}}) {
        parent_output = std::string(static_cast<std::size_t>(size), 'a');
        parent_output_written = 0;
        force_result(SystemCall::Write, STDOUT_FILENO, written);
        EXPECT_EQ(flush_parent_output(), 0);
        EXPECT_EQ(parent_output.size(), static_cast<std::size_t>(size - written));
        EXPECT_EQ(parent_output_written, 0U);
    }
}

// A parent that is always one record behind.
TEST_F(ChannelOutput, DoesNotGrowForAParentThatIsAlwaysALittleBehind)
{
    const std::string value(996, 'x');
    std::string heard;
    std::size_t greatest = 0;
    force_result(SystemCall::Write, STDOUT_FILENO, -1, EAGAIN);
    for (int i = 0; i < 1000; ++i) {
        send_field("a", value);
        limit_next_write(SystemCall::Write, STDOUT_FILENO, 1000);
        greatest = std::max(greatest, parent_output.size());
        heard += parent_hears();
        ASSERT_TRUE(parent_output_pending());
    }
    EXPECT_LE(greatest, 200'000U);
    EXPECT_EQ(heard.size(), 999'000U);
    EXPECT_EQ(heard.substr(998'000), "a=" + value + "\n\n");
}

// Such a parent never lets the output become empty.
TEST_F(ChannelOutput, DoesNotGrowForAParentThatIsAlwaysBehind)
{
    force_result(SystemCall::Write, STDOUT_FILENO, -1, EAGAIN);
    send_field("a", std::string(100'000, 'x'));
    for (int i = 0; i < 100; ++i) {
        limit_next_write(SystemCall::Write, STDOUT_FILENO, 20'004);
        send_field("a", std::string(20'000, 'x'));
        EXPECT_EQ(parent_hears().size(), 20'004U);
        ASSERT_LT(parent_output.size(), 250'000U);
    }
}

TEST_F(ChannelOutput, ArrivesWholeHoweverThePipeAcceptsIt)
{
    EXPECT_TRUE(rc::check([this](const std::vector<std::string>& values) {
        std::string expected;
        std::string heard;
        for (const std::string& value : values) {
            ParentRecord record;
            record.fields["a"] = value;
            encode_record(record, expected);
            limit_next_write(SystemCall::Write, STDOUT_FILENO,
                             *rc::gen::inRange<std::size_t>(1, 9));
            send_parent_record(record);
            heard += parent_hears();
        }
        reset_forced_results();
        flush_parent_output();
        return heard + parent_hears() == expected && !parent_output_pending();
    }));
}
