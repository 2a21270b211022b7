// The command line of the program.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "router_simulator/router/state.h"

namespace router_simulator {

struct simulator_options {
    std::string listen = "127.0.0.1";
    std::uint16_t port = 12345;        // 0: any free one
    std::string names_file;            // empty: none
    std::string scenario_file;         // empty: none
    std::optional<std::uint64_t> seed; // in place of the scenario's
    int receive_buffer = 0;            // bytes of a client's socket; 0: as the system has it
    bool trace = false;
    bool json_events = false;
    router_options router;
};

// Fills in the options. Returns nothing when the program is to run; otherwise, once help has been
// printed to `output` or what is wrong to `errors`, the status it is to end with.
std::optional<int> parse_options(int argument_count, const char* const* arguments,
                                 simulator_options& options, std::ostream& output,
                                 std::ostream& errors);

} // namespace router_simulator
