#include "console/table.h"

#include <algorithm>

namespace console {

std::size_t text_width(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    }));
}

namespace {
std::string padding(const std::string& text, std::size_t width)
{
    const std::size_t used = text_width(text);
    return std::string(width > used ? width - used : 0, ' ');
}

void append_row(std::string& output, const std::vector<std::string>& row,
                const std::vector<std::string>& titles, const std::vector<std::size_t>& widths)
{
    std::string line;
    for (std::size_t column = 0; column < row.size(); ++column) {
        const bool right = titles[column].starts_with('#');
        const std::string space = padding(row[column], widths[column]);
        if (column > 0) line += "  ";
        line += right ? space + row[column] : row[column] + space;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    output += line + '\n';
}
} // namespace

std::string format_table(const std::vector<std::string>& titles,
                         const std::vector<std::vector<std::string>>& rows)
{
    std::vector<std::size_t> widths;
    widths.reserve(titles.size());
    for (const std::string& title : titles)
        widths.push_back(text_width(title));
    for (const std::vector<std::string>& row : rows)
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], text_width(row[column]));
    std::string output;
    append_row(output, titles, titles, widths);
    for (const std::vector<std::string>& row : rows)
        append_row(output, row, titles, widths);
    return output;
}

std::string format_columns(const std::vector<std::string>& entries, std::size_t width)
{
    std::size_t widest = 0;
    for (const std::string& entry : entries)
        widest = std::max(widest, text_width(entry));
    const std::size_t columns = std::max<std::size_t>(1, (width + 2) / (widest + 2));
    const std::size_t lines = (entries.size() + columns - 1) / columns;
    std::string output;
    for (std::size_t line = 0; line < lines; ++line) {
        for (std::size_t entry = line; entry < entries.size(); entry += lines) {
            output += entries[entry];
            if (entry + lines < entries.size()) output += padding(entries[entry], widest + 2);
        }
        output += '\n';
    }
    return output;
}

} // namespace console
