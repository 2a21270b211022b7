// The characters of a text that may be UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace common {

constexpr std::uint32_t NO_CHARACTER = 0xFFFFFFFF;

struct character {
    std::uint32_t code = NO_CHARACTER; // for a byte that begins none
    std::size_t length = 1;            // in bytes
};

// Of a text that is not empty. Neither a longer form than needed, nor a surrogate, nor anything
// beyond U+10FFFF is a character.
character first_character(std::string_view text);

bool is_utf8(std::string_view text);

// A character without a shape of its own: it acts on its neighbours, on their order or on where
// lines end.
bool is_unseen(std::uint32_t code);

// What is wrong with a text that people are to read, "has a character that is not seen, U+202E";
// empty: nothing.
std::string complaint_about(std::string_view text);

} // namespace common
