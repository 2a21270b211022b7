// Numbers as the router and the parent write them. Text that is no number reads as 0; no digit
// count overflows anything.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Upper-case hexadecimal without leading zeros.
std::string upper_hex(std::uint32_t value);

// The value of one hexadecimal digit of either case, -1 for any other character.
int hex_digit_value(char digit);

// The hexadecimal digits at the start of the text, without blank, sign or 0x. More digits than fit
// are cut to the low 32 bits.
std::uint32_t leading_hex_digits(std::string_view text);

// strtoul in base 16: reads blanks, a sign and 0x, saturates.
std::uint64_t hex_number(const std::string& text);

// strtol in base 10 (reads blanks and a sign, saturates at 64 bits), then the low 32 bits.
std::int32_t decimal_number(const std::string& text);
