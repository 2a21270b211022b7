#include "bench/figure.h"

#include <algorithm>
#include <cassert>
#include <cmath>

#include "tools/common/random.h"

namespace bench {

namespace {
constexpr int RESAMPLINGS = 1000;
constexpr double SPREAD_LOW = 0.05;
constexpr double SPREAD_HIGH = 0.95;

std::vector<double> resample(const std::vector<double>& values, std::mt19937_64& random)
{
    std::vector<double> drawn(values.size());
    std::generate(drawn.begin(), drawn.end(),
                  [&] { return values[common::draw<std::size_t>(random, 0, values.size() - 1)]; });
    return drawn;
}

// Sides are drawn independently of each other. A draw whose floor is zero has no ratio.
std::vector<double> resampled_ratios(const paired_samples& samples, double quantile)
{
    std::mt19937_64 random;
    std::vector<double> ratios;
    for (int i = 0; i < RESAMPLINGS; ++i) {
        const double ours = quantile_of(resample(samples.ours, random), quantile);
        const double floor = quantile_of(resample(samples.floor, random), quantile);
        if (floor > 0) ratios.push_back(ours / floor);
    }
    return ratios;
}
} // namespace

figure make_figure(const std::string& workload, const std::string& measure, const std::string& unit,
                   const paired_samples& samples, double quantile)
{
    figure made;
    made.workload = workload;
    made.measure = measure;
    made.unit = unit;
    made.ours = quantile_of(samples.ours, quantile);
    if (samples.floor.empty()) return made;
    made.floor = quantile_of(samples.floor, quantile);
    if (*made.floor <= 0) return made;
    made.ratio = made.ours / *made.floor;
    if (samples.ours.size() < 2 || samples.floor.size() < 2) return made;
    const std::vector<double> ratios = resampled_ratios(samples, quantile);
    made.ratio_low = quantile_of(ratios, SPREAD_LOW);
    made.ratio_high = quantile_of(ratios, SPREAD_HIGH);
    return made;
}

bool meets_aim(const figure& judged)
{
    if (judged.limit && judged.ours > *judged.limit) return false;
    if (!judged.aim) return true;
    if (!judged.ratio) return false;
    return judged.direction == better::less ? *judged.ratio <= *judged.aim
                                            : *judged.ratio >= *judged.aim;
}

double quantile_of(std::vector<double> values, double quantile)
{
    assert(!values.empty() && quantile >= 0 && quantile <= 1);
    const double rank = quantile * static_cast<double>(values.size() - 1);
    const auto below = values.begin() + static_cast<std::ptrdiff_t>(rank);
    std::nth_element(values.begin(), below, values.end());
    if (below + 1 == values.end()) return *below;
    const double above = *std::min_element(below + 1, values.end());
    return std::lerp(*below, above, rank - std::floor(rank));
}

} // namespace bench
