#include <sys/socket.h>

#include "common/log.h"
#include "support/backend_test.h"

namespace {
class Log : public BackendTest {};
} // namespace

TEST_F(Log, PutsTheTagOfItsLevelDirectlyBeforeTheText)
{
    log_debug("a");
    log_note("b");
    log_warning("c");
    log_error("d");
    log_untagged("e");
    EXPECT_EQ(diagnostics(), "<DBG>a\n<NOTE>b\n<WARN>c\n<ERR>d\ne\n");
}

TEST_F(Log, FormatsItsArgumentsAtEveryLevel)
{
    log_debug("%s=%d", "one", 1);
    log_note("%s=%d", "two", 2);
    log_warning("%s=%d", "three", 3);
    log_error("%s=%d", "four", 4);
    log_untagged("%02x %u%%", 0x0B, 5U);
    EXPECT_EQ(diagnostics(), "<DBG>one=1\n<NOTE>two=2\n<WARN>three=3\n<ERR>four=4\n0b 5%\n");
}

TEST_F(Log, EndsATextAtItsFirstNul)
{
    const std::string text("before\0after", 12);
    log_note("'%s' it is", text.c_str());
    EXPECT_EQ(diagnostics(), "<NOTE>'before' it is\n");
}

TEST_F(Log, KeepsNothingOfTheLineBefore)
{
    log_debug("%s", std::string(100, 'x').c_str());
    log_untagged("short");
    log_untagged("%s", "");
    EXPECT_EQ(diagnostics(), "<DBG>" + std::string(100, 'x') + "\nshort\n\n");
}

// Longer by one each time: every line is one more than there was room for, from the first on that
// is longer than any before.
TEST_F(Log, WritesLinesOfAnyLengthWhole)
{
    for (const std::size_t first : {200U, 30'000U}) {
        for (std::size_t length = first; length < first + 70; ++length) {
            const std::string text(length, 'z');
            log_debug("%s", text.c_str());
            EXPECT_EQ(diagnostics(), "<DBG>" + text + "\n");
        }
    }
}

// A datagram socket keeps the borders between the writes.
TEST_F(Log, WritesEachLineAtOnceInASingleWrite)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    const std::string long_text(20'000, 'y');
    log_error("%s %d", "text", 7);
    log_debug("%s", long_text.c_str());

    char bytes[30'000];
    ssize_t length = recv(ends[0], bytes, sizeof bytes, 0);
    EXPECT_EQ(std::string_view(bytes, static_cast<std::size_t>(length)), "<ERR>text 7\n");
    length = recv(ends[0], bytes, sizeof bytes, 0);
    EXPECT_EQ(std::string_view(bytes, static_cast<std::size_t>(length)),
              "<DBG>" + long_text + "\n");
    EXPECT_EQ(recv(ends[0], bytes, sizeof bytes, 0), -1);
    close(ends[0]);
}
