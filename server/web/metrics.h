// What is counted for monitoring: a plain record, part of the server's (server.h), that is counted
// up where things happen. As text in metrics_text.h.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <utility>

#include "server/desk/desk.h"

namespace web {

// Upper bounds in seconds; one more, without a bound, is implied.
constexpr auto CONFIRM_BOUNDS = std::to_array({0.02, 0.05, 0.1, 0.2, 0.3, 0.5, 1.0, 2.0, 5.0});
constexpr auto HTTP_BOUNDS = std::to_array({0.001, 0.005, 0.02, 0.1, 0.5, 2.0, 10.0, 60.0});

template <std::size_t Bounds>
struct histogram {
    std::array<std::uint64_t, Bounds + 1> counts{}; // of each range alone
    double sum = 0;
};

template <std::size_t Bounds>
void observe(histogram<Bounds>& histogram, const std::array<double, Bounds>& bounds,
             desk::monotonic duration)
{
    const double seconds = std::chrono::duration<double>(duration).count();
    std::size_t place = 0;
    while (place < Bounds && seconds > bounds[place])
        ++place;
    ++histogram.counts[place];
    histogram.sum += seconds;
}

struct router_counters {
    std::map<std::pair<std::string, desk::outcome>, std::uint64_t> wishes; // ended, by origin
    histogram<CONFIRM_BOUNDS.size()> confirm; // from the command to the router's report
    std::uint64_t outside_changes = 0;
};

struct metrics_counters {
    std::map<std::string, router_counters, std::less<>> routers;
    std::map<std::pair<std::string, int>, std::uint64_t> requests; // by route's name and status
    histogram<HTTP_BOUNDS.size()> http; // from a whole request to its answer, waiting included
    std::uint64_t journal_failures = 0;
};

// Before they are given to the journal.
void count_entries(metrics_counters& counters, const desk::house& house,
                   std::span<const desk::entry> entries);

} // namespace web
