#include <cstdint>
#include <gtest/gtest.h>

#include "tools/common/numbers.h"

using common::read_decimal;
using common::read_hexadecimal;

namespace {
template <typename number>
number decimal(std::string_view text)
{
    number value{};
    EXPECT_TRUE(read_decimal(text, value)) << text;
    return value;
}
} // namespace

TEST(Decimal, IsReadUpToTheLimitsOfItsType)
{
    EXPECT_EQ(decimal<int>("0"), 0);
    EXPECT_EQ(decimal<int>("007"), 7);
    EXPECT_EQ(decimal<int>("-12"), -12);
    EXPECT_EQ(decimal<std::uint16_t>("65535"), 65535);
    EXPECT_EQ(decimal<std::uint64_t>("18446744073709551615"), UINT64_MAX);
}

TEST(Decimal, IsNothingElse)
{
    for (const char* const text : {"", " 1", "1 ", "+1", "-", "1x", "0x1", "1.0", "a"}) {
        int value = 7;
        EXPECT_FALSE(read_decimal(text, value)) << text;
        EXPECT_EQ(value, 7) << text;
    }
}

TEST(Decimal, MustFitItsType)
{
    std::uint16_t port = 7;
    EXPECT_FALSE(read_decimal("65536", port));
    EXPECT_FALSE(read_decimal("-1", port));
    EXPECT_EQ(port, 7);
}

TEST(Hexadecimal, IsReadInEitherCase)
{
    unsigned value = 0;
    EXPECT_TRUE(read_hexadecimal("1aF", value));
    EXPECT_EQ(value, 0x1AFU);
    EXPECT_FALSE(read_hexadecimal("0x1", value));
    EXPECT_FALSE(read_hexadecimal("1G", value));
    EXPECT_FALSE(read_hexadecimal("100000000", value));
    EXPECT_EQ(value, 0x1AFU);
}
