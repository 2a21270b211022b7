#include "console/safe_text.h"

#include <cstdint>

#include "tools/common/characters.h"

namespace console {

namespace {
constexpr const char* REPLACEMENT = "\xEF\xBF\xBD"; // U+FFFD
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
        const common::character next = common::first_character(text);
        if (next.code == common::NO_CHARACTER || is_control(next.code) ||
            is_bidirectional(next.code))
            safe += REPLACEMENT;
        else
            safe += text.substr(0, next.length);
        text.remove_prefix(next.length);
    }
    return safe;
}

} // namespace console
