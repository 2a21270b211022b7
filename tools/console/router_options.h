// The console's command line.
#pragma once

#include <chrono>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "server/desk/house.h"

namespace console {

struct console_options {
    std::vector<desk::router_settings> routers; // one at least, no two of one id
    std::chrono::milliseconds wait_ready{10'000};
    bool json = false;
    std::string data;               // the file that keeps the house; empty: nothing is kept
    std::string backend;            // the program's path
    std::string person;             // who sits there
    std::vector<std::string> words; // one command; none: commands come from the person or a script
};

// Fills in the options; backend and person keep what they hold where nothing else is said. Warnings
// of configuration files go to `errors`. Returns nothing when the program is to run; otherwise,
// once help has been printed to `output` or what is wrong to `errors`, the status it is to end
// with.
std::optional<int> read_options(int argument_count, const char* const* arguments,
                                console_options& options, std::ostream& output,
                                std::ostream& errors);

} // namespace console
