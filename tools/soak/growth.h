// Samples of memory over time, and whether they grow.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "soak/process_cost.h"

namespace soak {

struct cost_sample {
    double seconds = 0; // since the start
    process_cost cost;
};

struct growth_figures {
    double slope_per_hour = 0; // of the line through the samples behind the first quarter
    double growth = 0;         // from the median of the second quarter to that of the last
};

// Of one of the counts. All 0 with fewer than eight samples.
growth_figures measure_growth(const std::vector<cost_sample>& samples,
                              std::uint64_t process_cost::*count);

struct growth_judgement {
    std::string text; // "the heap has grown by 28 KiB, 512 KiB allowed"
    bool too_much = false;
};

// One each for heap, PSS and open descriptors. Each flood larger than those before leaves its mark
// on the heap: half a MiB is allowed, and 16 in a run of less than five minutes, most of which is
// floods met first. PSS also changes by up to 2 MiB as other programs that use the same libraries
// come and go. Fewer than eight samples are too much of a guess: a judgement of its own says so.
std::vector<growth_judgement> judge_growth(const std::vector<cost_sample>& samples);

// One character per sample or group of samples, higher for more.
std::string sparkline(const std::vector<cost_sample>& samples, std::uint64_t process_cost::*count);

} // namespace soak
