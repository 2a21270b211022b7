#include "bench/figure_text.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace bench {

namespace {
constexpr double NEXT_TO_10 = 9.995;  // what two decimals round to 10
constexpr double NEXT_TO_100 = 99.95; // what three digits round to 100
constexpr double GROUPS_FROM = 10000;
constexpr double SAME_WITHIN = 0.25; // of a value that has no spread

std::string whole_text(double value)
{
    std::string digits = std::to_string(std::llround(std::abs(value)));
    if (std::abs(value) >= GROUPS_FROM)
        for (std::size_t end = digits.size(); end > 3; end -= 3)
            digits.insert(end - 3, " ");
    return (value < 0 ? "-" : "") + digits;
}

std::string three_digits(double value)
{
    if (std::abs(value) >= NEXT_TO_100) {
        const double last_digit = std::pow(10, std::floor(std::log10(std::abs(value))) - 2);
        return whole_text(std::round(value / last_digit) * last_digit);
    }
    std::ostringstream text;
    text << std::setprecision(3) << std::showpoint << value;
    return text.str();
}
} // namespace

std::string number_text(double value)
{
    return value == std::round(value) ? whole_text(value) : three_digits(value);
}

std::string ratio_text(double ratio)
{
    if (std::abs(ratio) >= NEXT_TO_10) return three_digits(ratio);
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << ratio;
    return text.str();
}

std::string spread_text(const figure& shown)
{
    if (!shown.ratio_low || !shown.ratio_high) return "";
    return ratio_text(*shown.ratio_low) + "-" + ratio_text(*shown.ratio_high);
}

std::string aim_text(const figure& shown)
{
    if (shown.limit)
        return "≤ " + number_text(*shown.limit) + (shown.unit.empty() ? "" : " " + shown.unit);
    if (!shown.aim) return "";
    return (shown.direction == better::less ? "≤ " : "≥ ") + ratio_text(*shown.aim);
}

std::string verdict_text(const figure& shown)
{
    if (!shown.aim && !shown.limit) return "";
    return meets_aim(shown) ? "met" : "missed";
}

namespace {
bool has_spread(const figure& shown)
{
    return shown.ratio && shown.ratio_low && shown.ratio_high;
}

bool spreads_overlap(const figure& one, const figure& other)
{
    return *one.ratio_low <= *other.ratio_high && *other.ratio_low <= *one.ratio_high;
}

std::string difference_text(double now, double before, better direction)
{
    const std::string word = (now < before) == (direction == better::less) ? "better" : "worse";
    if (before == 0) return word + " than 0";
    return word + " by " + number_text(std::round(100 * std::abs(now / before - 1))) + " %";
}
} // namespace

std::string change_text(const figure& now, const std::vector<figure>& last)
{
    const auto before = std::find_if(last.begin(), last.end(), [&](const figure& each) {
        return each.workload == now.workload && each.measure == now.measure;
    });
    if (before == last.end() || before->unit != now.unit || has_spread(*before) != has_spread(now))
        return "new";
    if (has_spread(now))
        return spreads_overlap(now, *before)
                   ? "as before"
                   : difference_text(*now.ratio, *before->ratio, now.direction);
    if (std::abs(now.ours - before->ours) <= SAME_WITHIN * std::abs(before->ours))
        return "as before";
    return difference_text(now.ours, before->ours, now.direction);
}

common::text_table figures_table(const std::vector<figure>& figures,
                                 const std::vector<figure>& last)
{
    common::text_table table{.title = "",
                             .columns = {{"workload"},
                                         {"measure"},
                                         {"ours", true},
                                         {"floor", true},
                                         {"ratio", true},
                                         {"spread", true},
                                         {"aim"},
                                         {"verdict"}},
                             .rows = {}};
    if (!last.empty()) table.columns.push_back({"since last run"});
    for (const figure& shown : figures) {
        const std::string unit = shown.unit.empty() ? "" : " " + shown.unit;
        table.rows.push_back({shown.workload, shown.measure, number_text(shown.ours) + unit,
                              shown.floor ? number_text(*shown.floor) + unit : "",
                              shown.ratio ? ratio_text(*shown.ratio) : "", spread_text(shown),
                              aim_text(shown), verdict_text(shown)});
        if (!last.empty()) table.rows.back().push_back(change_text(shown, last));
    }
    return table;
}

} // namespace bench
