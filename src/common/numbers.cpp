#include "common/numbers.h"

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
    return std::strtoul(text.c_str(), nullptr, 16);
}

std::int32_t decimal_number(const std::string& text)
{
    return static_cast<std::int32_t>(std::strtol(text.c_str(), nullptr, 10));
}
