// How much room UTF-8 text has on a screen, whatever the environment's language.
#pragma once

#include <cstddef>
#include <string_view>

namespace common {

// Places on the screen: none for a combining character, two for a wide one (Chinese, say), one for
// every other and for a byte that is no character.
std::size_t display_width(std::string_view text);

// Characters, combining ones included; bytes that are none count as one each.
std::size_t character_count(std::string_view text);

} // namespace common
