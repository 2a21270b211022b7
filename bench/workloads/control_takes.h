// A take asked for by HTTP beside one that a desk is told of directly.
#pragma once

#include <vector>

#include "bench/workloads/workload.h"

namespace bench {

// From the request to the take at the router, in turns, while nothing else goes on.
std::vector<figure> measure_control_takes(const bench_plan& plan);

} // namespace bench
