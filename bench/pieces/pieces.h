// What the measured pieces share: the surroundings that the backend works in, the loop that
// measures and the traffic that is measured.
#pragma once

#include <benchmark/benchmark.h>
#include <string>
#include <vector>

#include "bench/pieces/allocations.h"
#include "router_link/message.h"

namespace bench {

// The backend as at its start, between a parent that says nothing and reads nothing (descriptors 1
// and 2 are the null device) and a connected router that says nothing. Puts descriptors 0 to 2 back
// in the end: the results of the program are written to them between two measurements.
class silent_peers {
  public:
    silent_peers();
    silent_peers(const silent_peers&) = delete;
    silent_peers& operator=(const silent_peers&) = delete;
    ~silent_peers();

  private:
    int saved_descriptors[3];
    int parent_end;
    int router_end;
};

// Measures the operation once it has run once, when all that keeps its capacity has it. Returns the
// allocations of all measured runs, whose mean becomes the counter "allocations".
template <typename Operation>
std::uint64_t measure(benchmark::State& state, Operation operation)
{
    operation();
    const std::uint64_t before = allocation_count;
    for (auto _ : state)
        operation();
    const std::uint64_t allocations = allocation_count - before;
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(allocations), benchmark::Counter::kAvgIterations);
    return allocations;
}

// An idle pass of the main loop has allocated; the program must not end well.
extern bool idle_pass_allocates;

// The frame of one answer to "QN": the names of `count` sources (kind "S") or destinations ("D")
// from this router index on, with an attribute. The answer goes on unless it is the last.
std::string name_answer(const char* kind, unsigned first, unsigned count, bool last);

// The answers with all names from 0 on, 32 in each, as the parser delivers them.
std::vector<router_message> name_answers(const char* kind, unsigned count);

// The frame that shows the source on the destination.
std::string route_status(unsigned destination, unsigned source);

// What the parser delivers for these bytes.
std::vector<router_message> parsed(std::string_view bytes);

} // namespace bench
