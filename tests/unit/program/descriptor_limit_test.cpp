#include <gtest/gtest.h>
#include <sys/resource.h>

#include "server/program/descriptor_limit.h"

using namespace program;

TEST(DescriptorLimit, IsRaisedAsFarAsTheSystemLetsUs)
{
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit low{64, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
    EXPECT_EQ(raise_descriptor_limit(), before.rlim_max);
    rlimit after{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &after), 0);
    EXPECT_EQ(after.rlim_cur, before.rlim_max);
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST(DescriptorLimit, LeavesSomeForWhatClientsMustNotStop)
{
    EXPECT_EQ(clients_with(20'000), 19'488U);
    EXPECT_EQ(clients_with(1024), 512U);
    EXPECT_EQ(clients_with(256), 128U);
}
