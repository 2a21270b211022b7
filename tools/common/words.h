// A line of commands as text: commands separated by ";", words separated by blanks. A word or a
// part of one may stand in double or single quotes, inside which every other character counts as
// itself; there is no escape character. And names as people type them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace common {

struct word {
    std::string text;
    bool quoted = false;   // a part of it stood in quotes
    std::size_t start = 0; // where it begins in the line, its quote included
};

struct split_line {
    std::vector<std::vector<word>> commands; // never an empty one among them
    bool open_quote = false;                 // the last word's quote is not closed
    bool open_word = false;                  // the line ends inside a word, not after a blank
    bool open_command = false; // the last command goes on: the line does not end after a ";"
};

split_line split_words(std::string_view line);

// The word that reads as the text, and as a name rather than a number or an option: in quotes where
// needed.
std::string quote_word(const std::string& text);

bool is_number(std::string_view text); // decimal digits alone, at least one

// Compares as names compare: ASCII letters of either case are the same.
bool same_name(std::string_view left, std::string_view right);
bool begins_name(std::string_view name, std::string_view beginning);
bool name_contains(std::string_view name, std::string_view part);

} // namespace common
