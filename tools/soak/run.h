// One run: a backend between the simulated router, whose lines come on standard input, and a parent
// that says whatever comes to its mind.
#pragma once

#include <cstdint>
#include <string>

namespace soak {

struct soak_options {
    std::string backend;       // the program
    std::string output_folder; // gets soak.json and soak.svg
    std::uint64_t seconds = 600;
    unsigned seed = 1;
};

// Returns 0 when nothing was lost and nothing grew, 1 otherwise, 2 when it could not start.
int run_soak(const soak_options& options);

} // namespace soak
