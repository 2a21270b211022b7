// Samples of memory over time, and whether they grow.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "soak/process_cost.h"

struct cost_sample {
    double seconds = 0; // since the start
    process_cost cost;
};

struct growth_figures {
    double slope_kib_per_hour = 0; // of the line through the samples behind the first quarter
    double growth_kib = 0;         // from the median of the second quarter to that of the last
};

// Of one of the counts. All 0 with fewer than eight samples.
growth_figures measure_growth(const std::vector<cost_sample>& samples,
                              std::uint64_t process_cost::*count);

// "", or what grew. The largest flood of a run leaves its mark on the heap, and chance decides when
// it comes: a quarter of a MiB is allowed, many times less than a leak of one record in a thousand
// would make.
std::string growth_fault(const std::vector<cost_sample>& samples);

// One character per sample or group of samples, higher for more.
std::string sparkline(const std::vector<cost_sample>& samples, std::uint64_t process_cost::*count);
