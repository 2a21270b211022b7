#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "soak/process_cost.h"

using namespace soak;

namespace {
constexpr std::size_t SIZE = 8 << 20;

// Allocates memory once it is asked to, and says so.
[[noreturn]] void grow_when_asked(int teller)
{
    char word = 0;
    if (read(teller, &word, 1) != 1) _exit(1);
    void* const memory =
        mmap(nullptr, SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    std::memset(memory, 1, SIZE);
    if (write(teller, &word, 1) != 1) _exit(1);
    pause();
    _exit(1);
}
} // namespace

// Of a process that does nothing else: a sanitizer may release memory when some is allocated.
TEST(ProcessCost, CountsWhatIsAllocated)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const pid_t process = fork();
    if (process == 0) grow_when_asked(ends[1]);
    const auto before = read_process_cost(process);
    char word = 'x';
    EXPECT_EQ(write(ends[0], &word, 1), 1);
    EXPECT_EQ(read(ends[0], &word, 1), 1);
    const auto after = read_process_cost(process);
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    close(ends[0]);
    close(ends[1]);
    ASSERT_TRUE(before && after);
    EXPECT_GE(after->heap_kib, before->heap_kib + SIZE / 1024);
    EXPECT_GE(after->pss_kib, after->heap_kib);
}

TEST(ProcessCost, CountsDescriptors)
{
    const auto before = read_process_cost(getpid());
    const int descriptor = dup(STDERR_FILENO);
    const auto after = read_process_cost(getpid());
    close(descriptor);
    ASSERT_TRUE(before);
    ASSERT_TRUE(after);
    EXPECT_EQ(after->descriptors, before->descriptors + 1);
}

TEST(ProcessCost, NoProcessHasNone)
{
    EXPECT_FALSE(read_process_cost(-1));
}
