#include "tools/common/text_table.h"

#include <algorithm>

#include "tools/common/text_width.h"

namespace common {

namespace {
std::string blanks(const std::string& cell, std::size_t width)
{
    return std::string(width - display_width(cell), ' ');
}

std::size_t column_width(const text_table& table, std::size_t column)
{
    std::size_t width = display_width(table.columns[column].title);
    for (const std::vector<std::string>& row : table.rows)
        width = std::max(width, display_width(row[column]));
    return width;
}

std::vector<std::string> titles_of(const text_table& table)
{
    std::vector<std::string> titles;
    for (const text_column& column : table.columns)
        titles.push_back(column.title);
    return titles;
}
} // namespace

std::string terminal_text(const text_table& table)
{
    std::vector<std::string> lines = {""};
    lines.resize(table.rows.size() + 1);
    for (std::size_t column = 0; column < table.columns.size(); ++column) {
        const std::size_t width = column_width(table, column);
        for (std::size_t line = 0; line < lines.size(); ++line) {
            const std::string& cell =
                line == 0 ? table.columns[column].title : table.rows[line - 1][column];
            if (column > 0) lines[line] += "  ";
            lines[line] += table.columns[column].right ? blanks(cell, width) + cell
                                                       : cell + blanks(cell, width);
        }
    }
    std::string text = table.title.empty() ? "" : table.title + "\n";
    for (const std::string& line : lines)
        text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    return text;
}

namespace {
std::string markdown_row(const std::vector<std::string>& cells)
{
    std::string row = "|";
    for (const std::string& cell : cells)
        row += " " + cell + (cell.empty() ? "|" : " |");
    return row + "\n";
}
} // namespace

std::string markdown_text(const text_table& table)
{
    std::vector<std::string> rules;
    for (const text_column& column : table.columns)
        rules.emplace_back(column.right ? "--:" : "---");
    std::string text = table.title.empty() ? "" : "**" + table.title + "**\n\n";
    text += markdown_row(titles_of(table)) + markdown_row(rules);
    for (const std::vector<std::string>& row : table.rows)
        text += markdown_row(row);
    return text;
}

std::string list_text(const std::vector<std::string>& entries, std::size_t width)
{
    std::size_t widest = 0;
    for (const std::string& entry : entries)
        widest = std::max(widest, display_width(entry));
    const std::size_t columns = std::max<std::size_t>(1, (width + 2) / (widest + 2));
    const std::size_t lines = (entries.size() + columns - 1) / columns;
    std::string text;
    for (std::size_t line = 0; line < lines; ++line) {
        for (std::size_t entry = line; entry < entries.size(); entry += lines) {
            text += entries[entry];
            if (entry + lines < entries.size()) text += blanks(entries[entry], widest + 2);
        }
        text += '\n';
    }
    return text;
}

} // namespace common
