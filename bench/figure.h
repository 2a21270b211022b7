// What was measured as one figure beside the least that it could cost, its floor. Machines are
// noisy: what counts is the ratio of the two and how far that ratio would have moved with other
// luck, never a duration by itself.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace bench {

// Samples of one measure, in turns so that what disturbs one side disturbs the other too.
// The sides need not have as many samples as each other.
struct paired_samples {
    std::vector<double> ours;
    std::vector<double> floor; // empty: there is none
};

enum class better { less, more };

struct figure {
    std::string workload; // "take"
    std::string measure;  // "p50"
    std::string unit;     // of ours and floor: "us", "KiB", "records/s", "calls"
    double ours = 0;
    std::optional<double> floor = std::nullopt;
    // With a floor above zero: ours / floor, and where it lies in 90 of 100 resamplings; that is
    // unknown when either side has a single sample.
    std::optional<double> ratio = std::nullopt;
    std::optional<double> ratio_low = std::nullopt;
    std::optional<double> ratio_high = std::nullopt;
    better direction = better::less;
    // Of the ratio: at most it, or at least it where more is better; none: reported only.
    std::optional<double> aim = std::nullopt;
    // Of ours, in its unit: at most it; none: as good as any.
    std::optional<double> limit = std::nullopt;
};

// The quantile (0 to 1; 0.5 the median) of each side and their ratio; direction and aim are left
// to the caller. `samples.ours` holds at least one value. Equal samples give equal figures: chance
// starts from a fixed seed.
figure make_figure(const std::string& workload, const std::string& measure, const std::string& unit,
                   const paired_samples& samples, double quantile = 0.5);

// The limit as well. True without an aim and a limit; false with an aim but no ratio.
bool meets_aim(const figure& judged);

// Of at least one value, in any order; between two neighbours in proportion.
double quantile_of(std::vector<double> values, double quantile);

} // namespace bench
