#include "console/screen_rows.h"

#include "tools/common/text_width.h"

namespace console {

namespace {
struct place {
    std::size_t row = 0;
    std::size_t column = 0; // as many as there are: behind the last one
};

std::size_t length_of_first(std::string_view text)
{
    std::size_t length = 1;
    while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U)
        ++length;
    return length;
}

// A wide character that does not fit at the end of a row stands in the next one.
place place_behind(std::string_view text, std::size_t columns)
{
    place cursor;
    while (!text.empty()) {
        const std::size_t length = length_of_first(text);
        const std::size_t width = common::display_width(text.substr(0, length));
        if (cursor.column + width > columns) cursor = {cursor.row + 1, 0};
        cursor.column += width;
        text.remove_prefix(length);
    }
    return cursor;
}
} // namespace

std::size_t cursor_row(std::string_view text, std::size_t columns)
{
    const place cursor = place_behind(text, columns);
    return cursor.row + (cursor.column >= columns ? 1 : 0);
}

std::size_t rows_of(std::string_view line, std::size_t columns)
{
    return place_behind(line, columns).row + 1;
}

} // namespace console
