#include "soak/process_cost.h"

#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>

TEST(ProcessCost, CountsWhatIsAllocated)
{
    const auto before = read_process_cost(getpid());
    ASSERT_TRUE(before);
    constexpr std::size_t size = 8 << 20;
    const std::unique_ptr<char[]> memory(new char[size]);
    for (std::size_t i = 0; i < size; i += 512)
        memory[i] = 1;
    const auto after = read_process_cost(getpid());
    ASSERT_TRUE(after);
    EXPECT_GE(after->heap_kib, before->heap_kib + 8000);
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
