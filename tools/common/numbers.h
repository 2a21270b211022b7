// Numbers as people and programs write them.
#pragma once

#include <charconv>
#include <concepts>
#include <string_view>
#include <system_error>

namespace common {

// Both read a whole text of digits, with a minus before them where the type has a sign. False, and
// the value as it was, when there is anything else (a blank, a plus, "0x"), no digit, or more than
// the type holds.
template <std::integral number>
bool read_number(std::string_view text, number& value, int base)
{
    number result = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, result, base);
    if (error != std::errc() || stop != end) return false;
    value = result;
    return true;
}

template <std::integral number>
bool read_decimal(std::string_view text, number& value)
{
    return read_number(text, value, 10);
}

template <std::integral number>
bool read_hexadecimal(std::string_view text, number& value)
{
    return read_number(text, value, 16);
}

} // namespace common
