#include <gtest/gtest.h>

#include "console/times.h"

using namespace console;
using namespace std::chrono_literals;

TEST(Times, AgeIsInDaysFromTwoOn)
{
    EXPECT_EQ(age(0s), "0:00");
    EXPECT_EQ(age(42'999ms), "0:42");
    EXPECT_EQ(age(3599s), "59:59");
    EXPECT_EQ(age(3600s), "1:00:00");
    EXPECT_EQ(age(47h + 59min + 59s), "47:59:59");
    EXPECT_EQ(age(48h), "2 days");
}

TEST(Times, DurationIsAsExactAsItIsShort)
{
    EXPECT_EQ(duration(840us), "0.8 ms");
    EXPECT_EQ(duration(9999us), "9.9 ms");
    EXPECT_EQ(duration(10ms), "10 ms");
    EXPECT_EQ(duration(999'999us), "999 ms");
    EXPECT_EQ(duration(1s), "1.0 s");
    EXPECT_EQ(duration(59'999ms), "59.9 s");
    EXPECT_EQ(duration(60s), "1:00");
}
