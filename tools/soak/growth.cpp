#include "soak/growth.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace soak {

namespace {
struct growth_bound {
    const char* name;
    std::uint64_t process_cost::*count;
    const char* unit;
    long allowed;
    long allowed_in_short_run;
};
constexpr std::array<growth_bound, 3> BOUNDS = {{
    {"the heap", &process_cost::heap_kib, " KiB", 512, 16384},
    {"PSS", &process_cost::pss_kib, " KiB", 2048, 16384},
    {"the number of open descriptors", &process_cost::descriptors, "", 1, 1},
}};
constexpr double SHORT_RUN_SECONDS = 300;
constexpr std::size_t LEAST_SAMPLES = 8;
constexpr std::size_t SPARKLINE_WIDTH = 60;

double value_of(const cost_sample& sample, std::uint64_t process_cost::*count)
{
    return static_cast<double>(sample.cost.*count);
}

double median(const std::vector<cost_sample>& samples, std::size_t from, std::size_t to,
              std::uint64_t process_cost::*count)
{
    std::vector<double> values;
    for (std::size_t i = from; i < to; ++i)
        values.push_back(value_of(samples[i], count));
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double slope_per_second(const std::vector<cost_sample>& samples, std::size_t from,
                        std::uint64_t process_cost::*count)
{
    const auto number = static_cast<double>(samples.size() - from);
    double sum_x = 0;
    double sum_y = 0;
    double sum_xx = 0;
    double sum_xy = 0;
    for (std::size_t i = from; i < samples.size(); ++i) {
        const double x = samples[i].seconds;
        const double y = value_of(samples[i], count);
        sum_x += x;
        sum_y += y;
        sum_xx += x * x;
        sum_xy += x * y;
    }
    const double spread = number * sum_xx - sum_x * sum_x;
    return spread > 0 ? (number * sum_xy - sum_x * sum_y) / spread : 0;
}
} // namespace

growth_figures measure_growth(const std::vector<cost_sample>& samples,
                              std::uint64_t process_cost::*count)
{
    const std::size_t quarter = samples.size() / 4;
    if (samples.size() < LEAST_SAMPLES) return {};
    return {slope_per_second(samples, quarter, count) * 3600,
            median(samples, samples.size() - quarter, samples.size(), count) -
                median(samples, quarter, 2 * quarter, count)};
}

std::vector<growth_judgement> judge_growth(const std::vector<cost_sample>& samples)
{
    if (samples.size() < LEAST_SAMPLES)
        return {{"memory was measured " + std::to_string(samples.size()) +
                     " times, too seldom to tell a growth",
                 true}};
    const bool is_short = samples.back().seconds < SHORT_RUN_SECONDS;
    std::vector<growth_judgement> judgements;
    for (const growth_bound& bound : BOUNDS) {
        const long growth = std::lround(measure_growth(samples, bound.count).growth);
        const long allowed = is_short ? bound.allowed_in_short_run : bound.allowed;
        judgements.push_back({bound.name +
                                  std::string(growth < 0 ? " has shrunk by " : " has grown by ") +
                                  std::to_string(std::abs(growth)) + bound.unit + ", " +
                                  std::to_string(allowed) + bound.unit + " allowed",
                              growth > allowed});
    }
    return judgements;
}

std::string sparkline(const std::vector<cost_sample>& samples, std::uint64_t process_cost::*count)
{
    constexpr std::array<const char*, 8> BARS = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    if (samples.empty()) return "";
    const auto less = [count](const cost_sample& a, const cost_sample& b) {
        return a.cost.*count < b.cost.*count;
    };
    const auto [least, most] = std::minmax_element(samples.begin(), samples.end(), less);
    const double span = std::max(1.0, value_of(*most, count) - value_of(*least, count));
    const std::size_t width = std::min(SPARKLINE_WIDTH, samples.size());
    std::string line;
    for (std::size_t i = 0; i < width; ++i) {
        const double part =
            (value_of(samples[i * samples.size() / width], count) - value_of(*least, count)) / span;
        line += BARS[static_cast<std::size_t>(part * 7.99)];
    }
    return line;
}

} // namespace soak
