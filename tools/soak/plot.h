// The memory of a run as a picture.
#pragma once

#include <ostream>
#include <vector>

#include "soak/growth.h"

namespace soak {

// Two lines over time, memory and heap in KiB, and a tick for each reconnection.
void write_plot(std::ostream& output, const std::vector<cost_sample>& samples,
                const std::vector<double>& reconnections);

} // namespace soak
