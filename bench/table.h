// Tables of text: the figures, and whatever else a benchmark has to show in rows.
#pragma once

#include <string>
#include <vector>

#include "bench/figure.h"

namespace bench {

struct text_table {
    std::string title; // "": none
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> rows; // each with as many cells as there are columns
};

// A row per figure. With figures of a last run, a column more that tells what has changed.
text_table figures_table(const std::vector<figure>& figures, const std::vector<figure>& last = {});

// Both end with a newline. A column in which every cell is empty or begins with a digit or a minus
// stands to the right.
std::string terminal_text(const text_table& table);
std::string markdown_text(const text_table& table);

} // namespace bench
