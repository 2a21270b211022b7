#include "tools/common/characters.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

namespace common {

namespace {
constexpr std::uint32_t LAST_CHARACTER = 0x10FFFF;

// How many bytes a character has that begins so; 0: none does.
std::size_t length_by_first(unsigned char first)
{
    if (first < 0x80) return 1;
    if (first < 0xC2) return 0;
    if (first < 0xE0) return 2;
    if (first < 0xF0) return 3;
    return first < 0xF5 ? 4 : 0;
}
} // namespace

character first_character(std::string_view text)
{
    constexpr std::uint32_t SMALLEST[] = {0, 0, 0x80, 0x800, 0x10000}; // by length
    const auto byte = [&](std::size_t i) {
        return static_cast<unsigned char>(text[i]);
    };
    const std::size_t length = length_by_first(byte(0));
    if (length == 1) return {byte(0), 1};
    if (length == 0 || length > text.size()) return {};
    std::uint32_t code = byte(0) & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) return {};
        code = code << 6U | (byte(i) & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < SMALLEST[length] || code > LAST_CHARACTER || surrogate) return {};
    return {code, length};
}

bool is_utf8(std::string_view text)
{
    while (!text.empty()) {
        const character first = first_character(text);
        if (first.code == NO_CHARACTER) return false;
        text.remove_prefix(first.length);
    }
    return true;
}

bool is_unseen(std::uint32_t code)
{
    constexpr std::pair<std::uint32_t, std::uint32_t> RANGES[] = {
        {0x00AD, 0x00AD}, {0x061C, 0x061C}, {0x180E, 0x180E}, {0x200B, 0x200F},  {0x2028, 0x202E},
        {0x2060, 0x206F}, {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0000, 0xE007F}};
    return std::any_of(std::begin(RANGES), std::end(RANGES), [&](const auto& range) {
        return code >= range.first && code <= range.second;
    });
}

std::string complaint_about(std::string_view text)
{
    while (!text.empty()) {
        const character first = first_character(text);
        char number[16];
        std::snprintf(number, sizeof number, "U+%04X", first.code);
        if (is_unseen(first.code))
            return std::string("has a character that is not seen, ") + number;
        text.remove_prefix(first.length);
    }
    return "";
}

} // namespace common
