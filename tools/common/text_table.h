// Tables of text, for a screen and for a document.
#pragma once

#include <string>
#include <vector>

namespace common {

struct text_column {
    std::string title;
    bool right = false; // its cells stand to the right
};

struct text_table {
    std::string title; // "": none
    std::vector<text_column> columns;
    std::vector<std::vector<std::string>> rows; // each with as many cells as there are columns
};

// Both end with a newline. On the screen columns are two blanks apart and as wide as their widest
// cell, and nothing stands at the end of a line.
std::string terminal_text(const text_table& table);
std::string markdown_text(const text_table& table);

// Entries in as many columns as fit the width, read from top to bottom; in one when nothing fits.
std::string list_text(const std::vector<std::string>& entries, std::size_t width);

} // namespace common
