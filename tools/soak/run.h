// One run: a backend between the simulated router and a parent that says whatever comes to its
// mind; all that the three say is entered into the ledgers and judged.
#pragma once

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <poll.h>
#include <string>
#include <vector>

#include "parent_link/parent_link.h"
#include "soak/process_cost.h"

namespace soak {

struct run_options {
    std::uint64_t seconds = 600; // at least LEAST_SECONDS, or what the run claims stays unproved
    unsigned seed = 1;
    std::string port;                    // the router's
    std::string other_port;              // where there is no router
    std::filesystem::path output_folder; // gets soak.json
};

// What a run stands in.
struct run_surroundings {
    parent_link::backend_link& backend;             // started
    int router_lines = -1;                          // reads the router's output
    std::function<void(std::vector<pollfd>&)> wait; // polls, for a moment at most
    std::function<std::optional<process_cost>(pid_t process)> measure;
    std::function<bool()>
        visited; // whether somebody has come to the other port since the last call
    const volatile std::sig_atomic_t& interrupted; // not 0: ends early, what is open is not judged
    std::ostream& output;                          // progress, findings and the summary
};

// Ends the backend as well. Returns 0 when nothing was found and everything claimed was proved,
// otherwise 1.
int run_soak(const run_options& options, const run_surroundings& around);

} // namespace soak
