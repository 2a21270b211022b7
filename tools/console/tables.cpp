#include "console/tables.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "tools/common/text_width.h"

namespace console {

namespace {
constexpr const char* CUT = "…";
constexpr std::size_t GAP = 2; // between columns

bool continues_character(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80;
}

void drop_empty_columns(common::text_table& table)
{
    for (std::size_t column = table.columns.size(); column-- > 0;) {
        if (std::any_of(table.rows.begin(), table.rows.end(),
                        [=](const auto& row) { return !row[column].empty(); }))
            continue;
        const auto at = static_cast<std::ptrdiff_t>(column);
        table.columns.erase(table.columns.begin() + at);
        for (auto& row : table.rows)
            row.erase(row.begin() + at);
    }
}

std::vector<std::size_t> widths_of(const common::text_table& table)
{
    std::vector<std::size_t> widths;
    for (std::size_t column = 0; column < table.columns.size(); ++column) {
        widths.push_back(common::display_width(table.columns[column].title));
        for (const auto& row : table.rows)
            widths.back() = std::max(widths.back(), common::display_width(row[column]));
    }
    return widths;
}

// Takes from the widest, again and again, until the sum fits.
void narrow(std::vector<std::size_t>& widths, std::size_t width)
{
    const std::size_t gaps = GAP * (widths.size() - 1);
    while (std::accumulate(widths.begin(), widths.end(), gaps) > width) {
        const auto widest = std::max_element(widths.begin(), widths.end());
        if (*widest <= SHORTEST_COLUMN) return;
        --*widest;
    }
}
} // namespace

std::string fit_text(std::string_view text, std::size_t places)
{
    if (common::display_width(text) <= places) return std::string(text);
    std::size_t end = 0;
    for (std::size_t next = 0; next < text.size();) {
        do
            ++next;
        while (next < text.size() && continues_character(text[next]));
        if (common::display_width(text.substr(0, next)) + 1 > places) break;
        end = next;
    }
    return std::string(text.substr(0, end)) + CUT;
}

std::string fitted_table(common::text_table table, std::size_t width)
{
    drop_empty_columns(table);
    if (table.columns.empty() || width == 0) return common::terminal_text(table);
    std::vector<std::size_t> widths = widths_of(table);
    narrow(widths, width);
    for (std::size_t column = 0; column < widths.size(); ++column)
        for (auto& row : table.rows)
            row[column] = fit_text(row[column], widths[column]);
    return common::terminal_text(table);
}

} // namespace console
