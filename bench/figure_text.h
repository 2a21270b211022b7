// Figures in digits and words, one by one and as a table.
#pragma once

#include <string>
#include <vector>

#include "bench/figure.h"
#include "tools/common/text_table.h"

namespace bench {

// Rounded to three significant digits unless it is a whole number, which is a count; from 10 000 up
// in groups of three digits: "0.0123", "1.50", "412 000", but "7", "20 017".
std::string number_text(double value);

// Two decimals, fewer from 10 up: "0.98", "12.3", "140".
std::string ratio_text(double ratio);

// Each of these is "" for a figure without what it shows.
std::string spread_text(const figure& shown);  // "0.98-1.04"
std::string aim_text(const figure& shown);     // "≤ 1.25", "≥ 0.85"
std::string verdict_text(const figure& shown); // "met", "missed"

// What has become of the last run's figure of the same workload and measure: "as before", "better
// by 12 %", "worse by 9 %", "new". Ratios are compared, and are as before when their spreads
// overlap; without a floor the values are, and are as before within 25 %.
std::string change_text(const figure& now, const std::vector<figure>& last);

// A row per figure. With figures of a last run, a column more that tells what has changed.
common::text_table figures_table(const std::vector<figure>& figures,
                                 const std::vector<figure>& last = {});

} // namespace bench
