// The result of a run in words, and as JSON for whoever compares runs.
#pragma once

#include <string>

#include "soak/growth.h"
#include "soak/ledgers.h"

namespace soak {

struct soak_result {
    const ledgers& books;
    const std::vector<cost_sample>& samples;
    double seconds = 0;
    unsigned seed = 0;
};

// One line for while it runs.
std::string progress_line(const soak_result& result);
std::string summary_text(const soak_result& result);
std::string summary_json(const soak_result& result);

} // namespace soak
