#include "console/safe_text.h"

#include <cstddef>
#include <cstdint>

namespace console {

namespace {
constexpr const char* REPLACEMENT = "\xEF\xBF\xBD"; // U+FFFD
constexpr std::uint32_t NO_CHARACTER = 0xFFFFFFFF;
constexpr std::uint32_t LAST_CHARACTER = 0x10FFFF;

struct character {
    std::uint32_t code = NO_CHARACTER;
    std::size_t length = 1; // in bytes
};

// How many bytes a character has that begins so; 0: none does.
std::size_t length_by_first(unsigned char first)
{
    if (first < 0x80) return 1;
    if (first < 0xC2) return 0;
    if (first < 0xE0) return 2;
    if (first < 0xF0) return 3;
    return first < 0xF5 ? 4 : 0;
}

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

bool is_control(std::uint32_t code)
{
    return (code < 0x20 && code != '\n') || (code >= 0x7F && code < 0xA0);
}

// Those that change the direction of what follows, and the separators of lines.
bool is_bidirectional(std::uint32_t code)
{
    return code == 0x061C || code == 0x200E || code == 0x200F ||
           (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}
} // namespace

std::string safe_text(std::string_view text)
{
    std::string safe;
    safe.reserve(text.size());
    while (!text.empty()) {
        const character next = first_character(text);
        if (next.code == NO_CHARACTER || is_control(next.code) || is_bidirectional(next.code))
            safe += REPLACEMENT;
        else
            safe += text.substr(0, next.length);
        text.remove_prefix(next.length);
    }
    return safe;
}

} // namespace console
