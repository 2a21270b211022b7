// What a parent may pour over the real program at once: nothing is lost, torn or answered twice.
#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <numeric>
#include <unistd.h>

#include "support/info_record.h"
#include "support/process_test.h"

namespace {
class ParentFlood : public ProcessTest {
  protected:
    // The ids of the next replies, in the order in which they come.
    std::vector<int> hear_replies(std::size_t count)
    {
        std::vector<int> ids;
        while (ids.size() < count && until([this] { return !backend.records.empty(); })) {
            for (; !backend.records.empty(); backend.records.pop_front())
                if (backend.records.front().type == "reply")
                    ids.push_back(std::stoi(backend.records.front().id));
            backend.diagnostics.clear();
            router.requests.clear();
        }
        return ids;
    }

    // The one reply to this record.
    ParentRecord reply_to(const ParentRecord& command)
    {
        send_record(backend, command);
        ParentRecord reply;
        until([&] {
            for (; !backend.records.empty() && reply.type != "reply"; backend.records.pop_front())
                reply = backend.records.front();
            return reply.type == "reply" || backend.ended;
        });
        return reply;
    }
};

ParentRecord dance()
{
    ParentRecord command;
    command.command = "dance";
    command.type = "command";
    command.id = "7";
    return command;
}

std::vector<int> numbers_from_0(int count)
{
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

std::string with_ids(const std::string& lines, int count)
{
    std::string text;
    for (int id = 0; id < count; ++id)
        text += lines + "\n*ID=" + std::to_string(id) + "\n\n";
    return text;
}
} // namespace

// More than a pipe holds.
TEST_F(ParentFlood, BurstOfCommandsIsAnsweredInOrder)
{
    const int commands = 5000;
    start_connected();
    send_bytes(backend, with_ids("*COMMAND=dance\n*TYPE=command", commands));
    EXPECT_EQ(hear_replies(commands), numbers_from_0(commands));
}

// More than are carried out at once. Each is answered inside others, so the order is open.
TEST_F(ParentFlood, BurstOfQueriesOf256OutputsIsAnswered)
{
    const int queries = 200;
    router.answers = healthy_answers();
    start_on_router("outputs=256\n");
    ASSERT_TRUE(until([this] { return count_requests(router, "QD") >= 2; }));
    send_bytes(backend, with_ids("*COMMAND=report\n*TYPE=command\nwhat=outputs", queries));
    std::vector<int> ids = hear_replies(queries);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, numbers_from_0(queries));
    EXPECT_EQ(reply_to(dance()).id, "7");
}

TEST_F(ParentFlood, LongLineComesBackWhole)
{
    start("");
    ParentRecord command = dance();
    command.id = std::string(200'000, 'x');
    EXPECT_TRUE(reply_to(command).id == command.id); // a difference would be printed whole
}

TEST_F(ParentFlood, RecordOfManyFieldsIsRead)
{
    start("");
    ParentRecord command = dance();
    for (int i = 0; i < 5000; ++i)
        command.fields["field " + std::to_string(i)] = std::to_string(i);
    EXPECT_EQ(reply_to(command).id, "7");
}

// A carriage return is dropped, a NUL ends the line: these two cannot come back.
TEST_F(ParentFlood, BytesOfEveryOtherValueComeBack)
{
    start("");
    ParentRecord command = dance();
    for (int byte = 1; byte < 256; ++byte)
        if (byte != '\r') command.id += static_cast<char>(byte);
    EXPECT_EQ(reply_to(command).id, command.id);
}

TEST_F(ParentFlood, BytesOfEveryValueBeforeRecordAreNoRecord)
{
    start("");
    std::string garbage;
    for (int byte = 0; byte < 256; ++byte)
        garbage += {static_cast<char>(byte), static_cast<char>(255 - byte)};
    send_bytes(backend, garbage + "\n\n");
    EXPECT_EQ(reply_to(dance()).id, "7");
}

namespace {
// Its output stays in the pipe until the test reads.
class UnreadOutput : public ParentFlood {
  protected:
    static constexpr int REPORTS = 5000; // many times what a pipe holds
    static constexpr long WAITING_KB = REPORTS * 240L / 1024;
    descriptor_pair input = pipe_to_child();
    descriptor_pair output = pipe_from_child();
    child_process child;
    std::string heard;

    void start_unread()
    {
        const owned_descriptor null(open("/dev/null", O_WRONLY | O_CLOEXEC));
        // A sanitizer keeps what was freed, which must not count.
        start_child(child,
                    {"env", "ASAN_OPTIONS=quarantine_size_mb=0:thread_local_quarantine_size_kb=0",
                     backend_program(), "--file", directory.file("a.conf", "")},
                    {input.childs.number, output.childs.number, null.number});
        ASSERT_EQ(hear_counts(1), std::vector<int>{0});
    }

    // Each changes the counts, which makes a report of its own. Returns when all have been read.
    void say_counts()
    {
        for (int i = 0; i < REPORTS; ++i)
            write_all(input.ours.number, "*COMMAND=set\n*TYPE=message\nname=inputs\nvalue=" +
                                             std::to_string(nth_count(i)) + "\n\n");
        EXPECT_TRUE(until([this] { return bytes_unread(input.ours.number) == 0; }));
    }

    static int nth_count(int n)
    {
        return 1 + n % 200;
    }

    static std::vector<int> said_counts()
    {
        std::vector<int> counts;
        for (int i = 0; i < REPORTS; ++i)
            counts.push_back(nth_count(i));
        return counts;
    }

    // The numbers of inputs in so many reports. A byte for each piece wakes the backend, which
    // would otherwise write the next one a quarter of a second later.
    std::vector<int> hear_counts(std::size_t count)
    {
        std::vector<int> counts;
        char bytes[4096];
        while (counts.size() < count) {
            const ssize_t size = read(output.ours.number, bytes, sizeof bytes);
            if (size <= 0) break;
            heard.append(bytes, static_cast<std::size_t>(size));
            write_all(input.ours.number, "\n");
            read_counts(counts);
        }
        return counts;
    }

    // Every report is whole: the same text but for the number.
    void read_counts(std::vector<int>& counts)
    {
        for (std::size_t end = 0; (end = heard.find("\n\n")) != std::string::npos;) {
            const std::string record = heard.substr(0, end + 2);
            const std::size_t digits = record.find("\ninputs=") + std::strlen("\ninputs=");
            const int count = std::atoi(record.substr(digits).c_str());
            EXPECT_EQ(record, info_record(count, 0));
            counts.push_back(count);
            heard.erase(0, end + 2);
        }
    }
};
} // namespace

TEST_F(UnreadOutput, WaitsWholeAndInOrder)
{
    start_unread();
    say_counts();
    EXPECT_EQ(hear_counts(REPORTS), said_counts());
    input.ours.reset();
    EXPECT_EQ(status_at_end(child), 0);
}

// What has been read leaves no trace: the second flood finds the memory of the first.
TEST_F(UnreadOutput, UsesMemoryOnlyForWhatWaits)
{
    start_unread();
    const long before = resident_kb(child.process);
    say_counts();
    const long waiting = resident_kb(child.process);
    EXPECT_LT(waiting - before, 3 * WAITING_KB);
    EXPECT_EQ(hear_counts(REPORTS), said_counts());
    say_counts();
    EXPECT_LT(resident_kb(child.process) - waiting, WAITING_KB / 4);
    EXPECT_EQ(hear_counts(REPORTS), said_counts());
}
