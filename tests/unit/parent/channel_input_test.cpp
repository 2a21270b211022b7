// The parent's bytes on their way to a record.

#include <cerrno>
#include <rapidcheck.h>

#include "parent/channel.h"
#include "support/backend_test.h"

using Records = std::vector<std::string>;

namespace {
class ChannelInput : public BackendTest {
  protected:
    // Calls that often for the next record. Returns the texts of the records handed out.
    Records read_records(std::size_t calls)
    {
        Records records;
        for (std::size_t i = 0; i < calls; ++i)
            if (const ParentRecord* const record = next_parent_record(); record != nullptr)
                encode_record(*record, records.emplace_back());
        return records;
    }

    // The records that these bytes make, one call a byte.
    Records records_of(std::string_view bytes)
    {
        parent_says_bytes(bytes);
        return read_records(bytes.size());
    }

    void read_bytes(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            ASSERT_EQ(read_parent_byte(), 0);
    }
};
} // namespace

TEST_F(ChannelInput, MakesOneRecordOfItsLines)
{
    EXPECT_EQ(records_of("*COMMAND=report\n*TYPE=command\n\n"),
              Records{"*COMMAND=report\n*TYPE=command\n\n"});
}

TEST_F(ChannelInput, ReadsCarriageReturnAndNewlineAsTheSame)
{
    EXPECT_EQ(records_of("*COMMAND=report\r\n*TYPE=command\r\n\r\n"),
              Records{"*COMMAND=report\n*TYPE=command\n\n"});
}

TEST_F(ChannelInput, DropsCarriageReturnsWhereverTheyOccur)
{
    EXPECT_EQ(records_of("\r*COMM\rAND\r=\rre\r\rport\r\n\r\r\n"), Records{"*COMMAND=report\n\n"});
}

TEST_F(ChannelInput, KeepsRecordsApart)
{
    EXPECT_EQ(records_of("*ID=1\na=1\n\n*COMMAND=x\nb=2\n\n"),
              (Records{"*ID=1\na=1\n\n", "*COMMAND=x\nb=2\n\n"}));
}

TEST_F(ChannelInput, MakesNoRecordOfEmptyLines)
{
    EXPECT_EQ(records_of("\n\n\r\n\n"), Records{});
    EXPECT_FALSE(record_complete);
}

TEST_F(ChannelInput, KeepsTypeAndIdOverAnEmptyLine)
{
    EXPECT_EQ(records_of("*ID=7\n\n"), Records{});
    EXPECT_EQ(records_of("*TYPE=command\n\n"), Records{});
    EXPECT_EQ(records_of("*COMMAND=report\n\n"),
              Records{"*COMMAND=report\n*TYPE=command\n*ID=7\n\n"});
}

TEST_F(ChannelInput, CompletesARecordThatHoldsACommandAnErrorOrAField)
{
    EXPECT_EQ(records_of("*COMMAND=a\n\n"), Records{"*COMMAND=a\n\n"});
    EXPECT_EQ(records_of("*ERROR=a\n\n"), Records{"*ERROR=a\n\n"});
    EXPECT_EQ(records_of("a=\n\n"), Records{"a=\n\n"});
}

TEST_F(ChannelInput, IgnoresLinesWithoutEqualsSign)
{
    EXPECT_EQ(records_of("word\n\nanother\na=1\n\n"), Records{"a=1\n\n"});
}

TEST_F(ChannelInput, CutsALineAtItsNulAndGoesOnBehindIt)
{
    EXPECT_EQ(records_of(std::string_view("a=1\0002\n\0\nb=\0\n\n", 13)), Records{"a=1\nb=\n\n"});
}

TEST_F(ChannelInput, ReadsALineWithANulOnlyAsNoEmptyLine)
{
    EXPECT_EQ(records_of(std::string_view("a=1\n\0\n", 6)), Records{});
    EXPECT_EQ(records_of("\n"), Records{"a=1\n\n"});
}

TEST_F(ChannelInput, AcceptsLinesAndRecordsOfAnyLength)
{
    const std::string value(20'000, 'v');
    std::string text = "a=" + value + "\n";
    for (int i = 1000; i < 3000; ++i)
        text += "f" + std::to_string(i) + "=" + std::to_string(i) + "\n";
    text += "\n";
    EXPECT_EQ(records_of(text), Records{text});
}

TEST_F(ChannelInput, ReadsOneByteACall)
{
    parent_says_bytes("ab");
    EXPECT_EQ(read_parent_byte(), 0);
    EXPECT_EQ(parent_line, "a");
    EXPECT_EQ(parent_bytes_unread(), 1);
    EXPECT_EQ(next_parent_record(), nullptr);
    EXPECT_EQ(parent_line, "ab");
}

TEST_F(ChannelInput, EmptiesTheLineAtItsEnd)
{
    parent_says_bytes("*ID=1\n");
    read_bytes(6);
    EXPECT_EQ(parent_line, "");
    EXPECT_EQ(incoming_record.id, "1");
}

TEST_F(ChannelInput, ReadsNothingWhileARecordWaits)
{
    parent_says_bytes("a=1\n\nb=2\n\n");
    read_bytes(5);
    ASSERT_TRUE(record_complete);
    read_bytes(3);
    EXPECT_EQ(parent_bytes_unread(), 5);
    EXPECT_EQ(parent_line, "");
    EXPECT_EQ(parent_record_ready(), &incoming_record);
    EXPECT_EQ(incoming_record.fields.at("a"), "1");
}

TEST_F(ChannelInput, HandsAWaitingRecordOutWithoutReading)
{
    parent_says_bytes("a=1\n\nb=2\n\n");
    read_bytes(5);
    EXPECT_EQ(next_parent_record(), &incoming_record);
    EXPECT_EQ(parent_bytes_unread(), 5);
    EXPECT_EQ(incoming_record.fields.at("a"), "1");
    EXPECT_FALSE(record_complete);
    EXPECT_TRUE(record_reset_pending);
}

TEST_F(ChannelInput, HasNoRecordReadyBeforeItsLastByteOrAfterItsHandingOut)
{
    parent_says_bytes("a=1\n\nb");
    read_bytes(4);
    EXPECT_EQ(parent_record_ready(), nullptr);
    EXPECT_EQ(next_parent_record(), &incoming_record);
    EXPECT_EQ(parent_record_ready(), nullptr);
    EXPECT_EQ(parent_bytes_unread(), 1);
}

TEST_F(ChannelInput, ClearsARecordHandedOutAtTheNextRead)
{
    ASSERT_EQ(records_of("*COMMAND=x\n*ERROR=e\n*TYPE=t\n*ID=1\na=1\n\n").size(), 1U);
    EXPECT_EQ(incoming_record.id, "1");
    EXPECT_EQ(read_parent_byte(), 0); // nothing there to read
    EXPECT_EQ(incoming_record.command + incoming_record.error + incoming_record.type +
                  incoming_record.id,
              "");
    EXPECT_TRUE(incoming_record.fields.empty());
    EXPECT_FALSE(record_reset_pending);
}

TEST_F(ChannelInput, ClearsOnlyOnceForEachRecord)
{
    parent_says_bytes("*ID=1\n");
    read_bytes(6);
    read_bytes(2);
    EXPECT_EQ(incoming_record.id, "1");
}

TEST_F(ChannelInput, ReadsNothingYetWhereThereIsNothing)
{
    EXPECT_EQ(read_parent_byte(), 0);
    EXPECT_FALSE(parent_input_ended);
    EXPECT_EQ(parent_line, "");
}

TEST_F(ChannelInput, TreatsAnInterruptedReadAsNothingYet)
{
    parent_says_bytes("a");
    force_result(SystemCall::Read, STDIN_FILENO, -1, EINTR);
    EXPECT_EQ(read_parent_byte(), 0);
    EXPECT_FALSE(parent_input_ended);
    EXPECT_EQ(parent_line, "");
    EXPECT_EQ(parent_bytes_unread(), 1);
    EXPECT_EQ(read_parent_byte(), 0);
    EXPECT_EQ(parent_line, "a");
}

TEST_F(ChannelInput, FailsOnAnyOtherReadError)
{
    for (const int error : {EIO, EBADF, ECONNRESET}) {
        parent_input_ended = false;
        force_result(SystemCall::Read, STDIN_FILENO, -1, error);
        EXPECT_EQ(read_parent_byte(), -1);
        EXPECT_TRUE(parent_input_ended);
    }
    EXPECT_EQ(parent_line, "");
}

TEST_F(ChannelInput, FailsAtEndOfFileOnceAllIsRead)
{
    parent_says_bytes("ab");
    parent_closes();
    read_bytes(2);
    EXPECT_EQ(parent_line, "ab");
    EXPECT_FALSE(parent_input_ended);
    EXPECT_EQ(read_parent_byte(), -1);
    EXPECT_TRUE(parent_input_ended);
    EXPECT_EQ(read_parent_byte(), -1);
    EXPECT_EQ(parent_line, "ab");
}

TEST_F(ChannelInput, TreatsALeftoverErrnoAsNoErrorOfEndOfFile)
{
    parent_closes();
    errno = EAGAIN;
    EXPECT_EQ(read_parent_byte(), -1);
}

TEST_F(ChannelInput, HandsOutNoRecordAtEndOfFile)
{
    parent_says_bytes("a=1\n");
    parent_closes();
    EXPECT_EQ(read_records(6), Records{});
}

TEST_F(ChannelInput, HandsARecordOutThatWasCompleteBeforeTheEnd)
{
    parent_says_bytes("a=1\n\n");
    parent_closes();
    read_bytes(5);
    EXPECT_EQ(read_parent_byte(), 0);
    EXPECT_EQ(read_records(1), Records{"a=1\n\n"});
    EXPECT_EQ(read_parent_byte(), -1);
}

TEST_F(ChannelInput, StaysSilent)
{
    records_of(std::string_view("garbage\n=\n\xFF\0\n\n", 14));
    parent_closes();
    EXPECT_EQ(service_parent_channel(), -1);
    EXPECT_EQ(diagnostics(), "");
}

namespace {
rc::Gen<std::vector<std::string>> chunks()
{
    const std::string pieces("a=\n\r*ID\0\xFF", 9);
    return rc::gen::container<std::vector<std::string>>(
        rc::gen::container<std::string>(rc::gen::elementOf(pieces)));
}
} // namespace

TEST_F(ChannelInput, DoesNotDependOnTheChunksThatBytesComeIn)
{
    EXPECT_TRUE(rc::check([this] {
        clear(incoming_record);
        parent_line.clear();
        std::string whole;
        Records in_chunks;
        for (const std::string& chunk : *chunks()) {
            whole += chunk;
            parent_says_bytes(chunk);
            for (const std::string& record : read_records(chunk.size() + 1))
                in_chunks.push_back(record);
        }
        const std::string line = std::exchange(parent_line, "");
        clear(incoming_record);
        return records_of(whole) == in_chunks && parent_line == line;
    }));
}
