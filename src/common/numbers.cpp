#include "common/numbers.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>

std::string upper_hex(std::uint32_t value)
{
    char text[9];
    std::snprintf(text, sizeof text, "%X", value);
    return text;
}

int hex_digit_value(char digit)
{
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    return -1;
}

std::uint32_t leading_hex_digits(std::string_view text)
{
    std::uint32_t value = 0;
    for (const char character : text) {
        const int digit = hex_digit_value(character);
        if (digit < 0) break;
        value = value * 16 + static_cast<std::uint32_t>(digit);
    }
    return value;
}

std::uint64_t hex_number(const std::string& text)
{
    // Plain digits, as every router sends them, are read in a fraction of strtoul's time, which
    // would be most of a name update's. It keeps what it alone reads: blanks, sign, 0x, too many
    // digits.
    const bool has_prefix = text.size() > 1 && (text[1] == 'x' || text[1] == 'X');
    std::uint64_t value = 0;
    if (!has_prefix && !text.empty() && hex_digit_value(text[0]) >= 0 &&
        std::from_chars(text.data(), text.data() + text.size(), value, 16).ec == std::errc())
        return value;
    return std::strtoul(text.c_str(), nullptr, 16);
}

std::int32_t decimal_number(const std::string& text)
{
    return static_cast<std::int32_t>(std::strtol(text.c_str(), nullptr, 10));
}
