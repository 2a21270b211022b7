// Records on their way to the handler, which may serve the channel itself while it works.

#include <cerrno>

#include "parent/channel.h"
#include "support/backend_test.h"

using Names = std::vector<std::string>;

namespace {
class ChannelDispatch : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        handled.clear();
        greatest_nesting = 0;
        work = nullptr;
        set_parent_record_handler(handle);
    }

    // One record a name: the name's line and the empty one.
    void parent_names(const Names& names)
    {
        for (const std::string& name : names)
            parent_says(name + "=");
    }

    static void handle(ParentRecord& record)
    {
        handled.push_back(record.fields.begin()->first);
        greatest_nesting = std::max(greatest_nesting, active_record_handlers);
        if (work) work();
    }

    static inline Names handled; // the names, in the order in which their handling began
    static inline int greatest_nesting = 0;
    static inline std::function<void()> work; // what the handler does for each record
};

void serve(int turns)
{
    for (int i = 0; i < turns; ++i)
        service_parent_and_dispatch();
}
} // namespace

TEST_F(ChannelDispatch, ReadsTwoBytesATurn)
{
    parent_says_bytes("abcdef");
    serve(1);
    EXPECT_EQ(parent_line, "ab");
    serve(1);
    EXPECT_EQ(parent_line, "abcd");
}

TEST_F(ChannelDispatch, HandsARecordOverInTheTurnThatCompletesIt)
{
    parent_says("a=1"); // its last byte is the fifth, read by the service of the third turn
    serve(2);
    EXPECT_EQ(handled, Names{});
    serve(1);
    EXPECT_EQ(handled, Names{"a"});
    EXPECT_EQ(active_record_handlers, 0);
    EXPECT_FALSE(record_complete);
}

TEST_F(ChannelDispatch, WritesWhatIsPendingBeforeItDispatches)
{
    parent_says("a=");
    parent_output = "x=\n\n";
    std::string heard;
    work = [&] {
        heard = parent_hears();
    };
    serve(2);
    EXPECT_EQ(handled, Names{"a"});
    EXPECT_EQ(heard, "x=\n\n");
}

TEST_F(ChannelDispatch, HandsOverARecordOfABrokenChannel)
{
    parent_says("a=");
    parent_output = "x";
    force_result(SystemCall::Write, STDOUT_FILENO, -1, EIO);
    force_result(SystemCall::Write, STDOUT_FILENO, -1, EIO);
    serve(2);
    EXPECT_EQ(handled, Names{"a"});
    EXPECT_EQ(parent_output, "x");
}

TEST_F(ChannelDispatch, DropsRecordsWithoutAHandler)
{
    set_parent_record_handler(nullptr);
    parent_names({"a", "b"});
    serve(4);
    EXPECT_EQ(parent_record_ready(), nullptr);
    EXPECT_TRUE(record_reset_pending);
    EXPECT_EQ(handled, Names{});
}

TEST_F(ChannelDispatch, ClearsTheRecordOfAHandlerThatServesTheChannel)
{
    parent_says("*ID=7\na=");
    parent_says_bytes("b");
    bool first = true;
    work = [&] {
        if (!std::exchange(first, false)) return;
        EXPECT_EQ(incoming_record.id, "7");
        serve(1);
        EXPECT_EQ(incoming_record.id, "");
        EXPECT_EQ(incoming_record.fields.size(), 0U);
    };
    serve(5);
    EXPECT_EQ(handled, Names{"a"});
    EXPECT_EQ(parent_line, "b");
}

TEST_F(ChannelDispatch, HandlesRecordsOneInsideTheOther)
{
    parent_names({"a", "b", "c"});
    work = [] {
        serve(2);
    };
    serve(2);
    EXPECT_EQ(handled, (Names{"a", "b", "c"}));
    EXPECT_EQ(greatest_nesting, 3);
    EXPECT_EQ(active_record_handlers, 0);
}

TEST_F(ChannelDispatch, RunsAtMost64HandlersAtOnceAndAnswersEverything)
{
    Names names;
    for (int i = 100; i < 400; ++i)
        names.push_back(std::to_string(i));
    parent_names(names);
    work = [] {
        serve(10);
    };
    while (handled.size() < names.size())
        serve(1);
    EXPECT_EQ(handled, names);
    EXPECT_EQ(greatest_nesting, 64);
    EXPECT_EQ(active_record_handlers, 0);
}

TEST_F(ChannelDispatch, LeavesARecordWaitingAndReadsNoFurtherByteInTheDeepestHandler)
{
    active_record_handlers = 64;
    parent_names({"a", "b"});
    serve(4); // one byte a turn: the record is not looked for
    EXPECT_EQ(parent_bytes_unread(), 4);
    serve(10);
    dispatch_parent_record();
    EXPECT_EQ(parent_bytes_unread(), 4);
    EXPECT_EQ(parent_record_ready(), &incoming_record);
    EXPECT_EQ(handled, Names{});
    active_record_handlers = 63;
    serve(1);
    EXPECT_EQ(handled, Names{"a"});
    EXPECT_EQ(active_record_handlers, 63);
}

TEST_F(ChannelDispatch, StillWritesInTheDeepestHandler)
{
    active_record_handlers = 64;
    parent_output = "a=1\n\n";
    serve(1);
    EXPECT_EQ(parent_hears(), "a=1\n\n");
}
