// What the control server is started with.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace program {

enum class command { serve, back_up, check, carry_out, carry_in };

struct options {
    program::command command = program::command::serve;
    std::string data;        // the folder; empty only for a demonstration
    std::string config;      // the file of settings; empty: none
    std::string file;        // of a command
    std::optional<int> port; // to listen on, in place of the settings'
    bool demonstration = false;
    std::string backend;   // the programs' paths; beside this one unless given
    std::string simulator; // of a demonstration
};

// Returns the exit status when the program is done: help, version, or wrong arguments, which the
// second stream is told.
std::optional<int> read_options(int argument_count, const char* const* arguments, options& options,
                                std::ostream& output, std::ostream& errors);

} // namespace program
