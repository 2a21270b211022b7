#include "console/pager.h"

#include "console/screen_rows.h"

namespace console {

namespace {
// The first of the lines before this one that stand on a screen together.
std::size_t screen_start(const pager& pager, std::size_t end, const screen_size& screen)
{
    std::size_t rows = 0;
    std::size_t start = end;
    while (start > 0) {
        rows += rows_of(pager.lines[start - 1], screen.columns);
        if (rows >= screen.rows && start < end) break;
        --start;
    }
    return start;
}
} // namespace

pager make_pager(std::string_view text)
{
    pager result;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        result.lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return result;
}

bool fits_screen(std::string_view text, const screen_size& screen)
{
    std::size_t rows = 0;
    for (const std::string& line : make_pager(text).lines) {
        rows += rows_of(line, screen.columns);
        if (rows >= screen.rows) return false;
    }
    return true;
}

bool is_at_end(const pager& pager)
{
    return pager.next == pager.lines.size();
}

std::string next_line(pager& pager)
{
    return is_at_end(pager) ? "" : pager.lines[pager.next++] + "\n";
}

std::string next_screen(pager& pager, const screen_size& screen)
{
    std::string text = next_line(pager);
    std::size_t rows = rows_of(pager.lines[pager.next - 1], screen.columns);
    while (!is_at_end(pager)) {
        rows += rows_of(pager.lines[pager.next], screen.columns);
        if (rows >= screen.rows) break;
        text += next_line(pager);
    }
    return text;
}

std::string screen_before(pager& pager, const screen_size& screen)
{
    const std::size_t shown = screen_start(pager, pager.next, screen);
    pager.next = screen_start(pager, shown, screen);
    return next_screen(pager, screen);
}

} // namespace console
