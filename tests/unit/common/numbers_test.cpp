#include <cstdlib>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "common/numbers.h"

TEST(UpperHex, WritesUpperCaseWithoutLeadingZeros)
{
    EXPECT_EQ(upper_hex(0), "0");
    EXPECT_EQ(upper_hex(0xA), "A");
    EXPECT_EQ(upper_hex(0x10), "10");
    EXPECT_EQ(upper_hex(0xFFFFFFFF), "FFFFFFFF");
}

TEST(HexDigitValue, KnowsEveryDigitOfBothCasesAndNothingElse)
{
    const std::string upper = "0123456789ABCDEF";
    const std::string lower = "0123456789abcdef";
    for (int i = 0; i < 256; ++i) {
        const char character = static_cast<char>(i);
        const std::size_t digit = std::min(upper.find(character), lower.find(character));
        EXPECT_EQ(hex_digit_value(character), digit == std::string::npos ? -1 : int(digit)) << i;
    }
}

TEST(LeadingHexDigits, StopAtTheFirstOtherCharacter)
{
    EXPECT_EQ(leading_hex_digits("1fG2"), 0x1FU);
    EXPECT_EQ(leading_hex_digits("a b"), 0xAU);
    EXPECT_EQ(leading_hex_digits(std::string_view("1\0002", 3)), 1U);
}

TEST(LeadingHexDigits, AcceptNoBlankSignOrPrefix)
{
    EXPECT_EQ(leading_hex_digits(""), 0U);
    EXPECT_EQ(leading_hex_digits(" 1"), 0U);
    EXPECT_EQ(leading_hex_digits("+1"), 0U);
    EXPECT_EQ(leading_hex_digits("-1"), 0U);
    EXPECT_EQ(leading_hex_digits("0x12"), 0U);
}

TEST(LeadingHexDigits, KeepTheLow32BitsOfALongNumber)
{
    EXPECT_EQ(leading_hex_digits("FFFFFFFF"), 0xFFFFFFFFU);
    EXPECT_EQ(leading_hex_digits("123456789"), 0x23456789U);
    EXPECT_EQ(leading_hex_digits(std::string(100, 'F') + "01"), 0xFFFFFF01U);
}

TEST(HexNumber, AcceptsBlanksSignAndPrefix)
{
    EXPECT_EQ(hex_number("1fG"), 0x1FU);
    EXPECT_EQ(hex_number(" \t12"), 0x12U);
    EXPECT_EQ(hex_number("0x12"), 0x12U);
    EXPECT_EQ(hex_number("+A"), 0xAU);
    EXPECT_EQ(hex_number("-1"), UINT64_MAX);
}

TEST(HexNumber, SaturatesAndReadsTextAsZero)
{
    EXPECT_EQ(hex_number("FFFFFFFFFFFFFFFF"), UINT64_MAX);
    EXPECT_EQ(hex_number("10000000000000000"), UINT64_MAX);
    EXPECT_EQ(hex_number(""), 0U);
    EXPECT_EQ(hex_number("xyz"), 0U);
}

TEST(HexNumber, ReadsAnyTextAsStrtoulDoes)
{
    using namespace std::string_literals;
    const std::string alphabet = "0123456789abcdefABCDEFxX+- \t\ng\0"s;
    const auto text = rc::gen::container<std::string>(rc::gen::elementOf(alphabet));
    EXPECT_TRUE(rc::check([&] {
        const std::string sample = *text;
        return hex_number(sample) == std::strtoul(sample.c_str(), nullptr, 16);
    }));
    const std::string beginnings[] = {"", "0", "0x", "0X", "00x", "1x", " ", "-", "0x ", "+0x"};
    for (const std::string& beginning : beginnings)
        for (const char* const rest :
             {"", "1", "fF", "x1", "g", "FFFFFFFFFFFFFFFF", "fffffffffffffffff"})
            EXPECT_EQ(hex_number(beginning + rest),
                      std::strtoul((beginning + rest).c_str(), nullptr, 16))
                << beginning << rest;
}

TEST(DecimalNumber, StopsAtTheFirstNonDigit)
{
    EXPECT_EQ(decimal_number("12abc"), 12);
    EXPECT_EQ(decimal_number("12\n16"), 12);
    EXPECT_EQ(decimal_number("0x12"), 0);
    EXPECT_EQ(decimal_number("abc"), 0);
    EXPECT_EQ(decimal_number(""), 0);
}

TEST(DecimalNumber, AcceptsWhiteSpaceAndASign)
{
    EXPECT_EQ(decimal_number(" \t\n\v\f\r7"), 7);
    EXPECT_EQ(decimal_number("+7"), 7);
    EXPECT_EQ(decimal_number(" -7"), -7);
    EXPECT_EQ(decimal_number("- 7"), 0);
}

TEST(DecimalNumber, KeepsTheLow32BitsOfA64BitNumber)
{
    EXPECT_EQ(decimal_number("2147483647"), INT32_MAX);
    EXPECT_EQ(decimal_number("2147483648"), INT32_MIN);
    EXPECT_EQ(decimal_number("4294967295"), -1);
    EXPECT_EQ(decimal_number("4294967301"), 5);
    EXPECT_EQ(decimal_number("-4294967295"), 1);
}

TEST(DecimalNumber, SaturatesAt64BitsBeforeTheCut)
{
    EXPECT_EQ(decimal_number("9223372036854775807"), -1);
    EXPECT_EQ(decimal_number("9223372036854775808"), -1);
    EXPECT_EQ(decimal_number("99999999999999999999999"), -1);
    EXPECT_EQ(decimal_number("-9223372036854775808"), 0);
    EXPECT_EQ(decimal_number("-99999999999999999999999"), 0);
}

TEST(Numbers, HexadecimalTextReadsBackTheSame)
{
    EXPECT_TRUE(rc::check([](std::uint32_t value) {
        return leading_hex_digits(upper_hex(value)) == value &&
               hex_number(upper_hex(value)) == value;
    }));
}
