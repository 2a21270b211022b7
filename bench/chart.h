// The ratios of a run as a picture.
#pragma once

#include <ostream>
#include <vector>

#include "bench/figure.h"

namespace bench {

// SVG: a bar for each figure that has a ratio, with its spread as a whisker and its aim as a tick;
// a line where ours costs what the floor costs. A ratio beyond 3 is a broken bar, so that it does
// not squash the others; its value stands beside it as it does for all.
void write_chart(std::ostream& output, const std::vector<figure>& figures);

} // namespace bench
