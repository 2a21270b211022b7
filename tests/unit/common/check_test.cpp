// The assertions are expected to work in spite of this.
#ifndef NDEBUG
#define NDEBUG
#endif

#include <gtest/gtest.h>

#include "common/check.h"

namespace {
void require_positive(int number)
{
    CHECK(number > 0);
}

void require_small(int number)
{
    CHECK_NAMED(number < 10, "number is small");
}
} // namespace

TEST(CheckDeathTest, PrintsConditionFileLineAndFunctionAndAborts)
{
    EXPECT_EXIT(require_positive(0), testing::KilledBySignal(SIGABRT),
                "^tests/unit/common/check_test\\.cpp:13: require_positive: "
                "Assertion `number > 0' failed\\.\n$");
}

TEST(CheckDeathTest, PrintsTheTextGivenForACondition)
{
    EXPECT_EXIT(require_small(10), testing::KilledBySignal(SIGABRT),
                "Assertion `number is small' failed\\.\n$");
}

TEST(Check, LetsATrueConditionPassAndEvaluatesItOnce)
{
    int evaluated = 0;
    CHECK(++evaluated == 1);
    EXPECT_EQ(evaluated, 1);
}
