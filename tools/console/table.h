// Text in aligned columns.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace console {

// The width on the screen, one place for each UTF-8 character.
std::size_t text_width(std::string_view text);

// One line a row, the columns two blanks apart and as wide as their widest entry; nothing at the
// end of a line. Columns whose title begins with "#" are aligned to the right. Rows as long as the
// titles.
std::string format_table(const std::vector<std::string>& titles,
                         const std::vector<std::vector<std::string>>& rows);

// As many columns as fit the width, read from top to bottom; one when nothing fits.
std::string format_columns(const std::vector<std::string>& entries, std::size_t width);

} // namespace console
