// Tables for a screen: their cells are cut only where the screen's width demands it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/common/text_table.h"

namespace console {

// The text with at most so many places on the screen, one at least: cut at a character, where it
// then ends with "…".
std::string fit_text(std::string_view text, std::size_t places);

// As common::terminal_text, without the columns that have no entry. In a table that is wider than
// `width` (0: no limit) the widest columns are cut, none below SHORTEST_COLUMN.
constexpr std::size_t SHORTEST_COLUMN = 8;
std::string fitted_table(common::text_table table, std::size_t width);

} // namespace console
