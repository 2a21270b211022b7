// A text that is longer than the screen, some rows at a time: which lines come next.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace console {

struct screen_size {
    std::size_t rows = 24;
    std::size_t columns = 80;
};

struct pager {
    std::vector<std::string> lines; // without their ends
    std::size_t next = 0;           // the first line that has not been shown
};

// Whether the text, of whole lines, can stand on the screen with the line that is typed below it.
bool fits_screen(std::string_view text, const screen_size& screen);

pager make_pager(std::string_view text);
bool is_at_end(const pager& pager);

// The lines to print, with their ends, after which they have been shown. Each gives one at least
// while there is one; a screen leaves a row free.
std::string next_line(pager& pager);
std::string next_screen(pager& pager, const screen_size& screen);

// The screen before the one that was shown last, or the first.
std::string screen_before(pager& pager, const screen_size& screen);

} // namespace console
