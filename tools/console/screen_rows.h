// Where text stands on a screen that wraps lines.
#pragma once

#include <cstddef>
#include <string_view>

namespace console {

// The row, counted from 0, in which the cursor stands behind this text, which begins at the left
// margin and has no line end. Behind a full row that is the next one.
std::size_t cursor_row(std::string_view text, std::size_t columns);

// How many rows a line fills; an empty one fills one.
std::size_t rows_of(std::string_view line, std::size_t columns);

} // namespace console
