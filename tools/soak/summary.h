// The result of a run in words, and as JSON for whoever compares runs or draws them.
#pragma once

#include <string>
#include <vector>

#include "soak/growth.h"
#include "soak/ledgers.h"

namespace soak {

struct soak_result {
    const ledgers& books;
    const std::vector<cost_sample>& samples;
    const std::vector<double>& reconnections; // seconds since the start
    double seconds = 0;
    unsigned seed = 0;
};

// One line for while it runs.
std::string progress_line(const soak_result& result);

// All counts, and the verdict: what was judged and what was found.
std::string summary_text(const soak_result& result);

// The same figures; then the samples, a line [seconds, PSS and heap in KiB, descriptors] each, and
// the reconnections, a line [seconds] each.
std::string summary_json(const soak_result& result);

} // namespace soak
