// The command line: --file <path> and --help, with any number of leading dashes.
#pragma once

#include <string>

// Reads the arguments left to right; a later --file replaces an earlier one. Returns false when the
// process must end with status 1; what there is to say has then been written to standard error.
bool parse_command_line(int argument_count, char** arguments, std::string& config_path);
