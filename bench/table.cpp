#include "bench/table.h"

#include <algorithm>

#include "bench/figure_text.h"

namespace bench {

text_table figures_table(const std::vector<figure>& figures, const std::vector<figure>& last)
{
    text_table table = {
        "", {"workload", "measure", "ours", "floor", "ratio", "spread", "aim", "verdict"}, {}};
    if (!last.empty()) table.columns.emplace_back("since last run");
    for (const figure& figure : figures) {
        const std::string unit = figure.unit.empty() ? "" : " " + figure.unit;
        table.rows.push_back({figure.workload, figure.measure, number_text(figure.ours) + unit,
                              figure.floor ? number_text(*figure.floor) + unit : "",
                              figure.ratio ? ratio_text(*figure.ratio) : "", spread_text(figure),
                              aim_text(figure), verdict_text(figure)});
        if (!last.empty()) table.rows.back().push_back(change_text(figure, last));
    }
    return table;
}

namespace {
// The characters of UTF-8, each taken to be as wide as any other.
std::size_t width_of(const std::string& cell)
{
    const auto count = std::count_if(cell.begin(), cell.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    });
    return static_cast<std::size_t>(count);
}
} // namespace

struct column_form {
    std::size_t width = 0;
    bool right = true;
};

namespace {
std::vector<column_form> column_forms(const text_table& table)
{
    std::vector<column_form> forms(table.columns.size());
    for (std::size_t i = 0; i < forms.size(); ++i) {
        forms[i].width = width_of(table.columns[i]);
        for (const std::vector<std::string>& row : table.rows) {
            forms[i].width = std::max(forms[i].width, width_of(row[i]));
            if (!row[i].empty() && std::string("-0123456789").find(row[i][0]) == std::string::npos)
                forms[i].right = false;
        }
    }
    return forms;
}

std::string padded(const std::string& cell, const column_form& form)
{
    const std::string blank(form.width - width_of(cell), ' ');
    return form.right ? blank + cell : cell + blank;
}

std::string terminal_row(const std::vector<std::string>& cells,
                         const std::vector<column_form>& forms)
{
    std::string row;
    for (std::size_t i = 0; i < cells.size(); ++i)
        row += (i > 0 ? "  " : "") + padded(cells[i], forms[i]);
    row.erase(row.find_last_not_of(' ') + 1);
    return row + "\n";
}
} // namespace

std::string terminal_text(const text_table& table)
{
    const std::vector<column_form> forms = column_forms(table);
    std::vector<std::string> rules;
    for (const column_form& form : forms)
        rules.emplace_back(form.width, '-');
    std::string text = table.title.empty() ? "" : table.title + "\n";
    text += terminal_row(table.columns, forms) + terminal_row(rules, forms);
    for (const std::vector<std::string>& row : table.rows)
        text += terminal_row(row, forms);
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
    for (const column_form& form : column_forms(table))
        rules.emplace_back(form.right ? "--:" : "---");
    std::string text = table.title.empty() ? "" : "**" + table.title + "**\n\n";
    text += markdown_row(table.columns) + markdown_row(rules);
    for (const std::vector<std::string>& row : table.rows)
        text += markdown_row(row);
    return text;
}

} // namespace bench
