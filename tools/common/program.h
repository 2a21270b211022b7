// What every program of the tools does with its arguments and its errors.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace common {

constexpr int EXIT_WRONG_ARGUMENTS = 1;

// Parses the arguments, --help and --version among them. Returns the exit status when the program
// is done: 0 after these two, printed on the first stream, EXIT_WRONG_ARGUMENTS after wrong ones,
// which the second is told: "unknown option --bogus". Where the program takes a command, its words
// are what remains in the app.
std::optional<int> parse_arguments(CLI::App& app, int argument_count, const char* const* arguments,
                                   std::ostream& output, std::ostream& errors);
// The same with the standard streams.
std::optional<int> parse_arguments(CLI::App& app, int argument_count, const char* const* arguments);

// Says what is wrong, and how to learn more. Returns EXIT_WRONG_ARGUMENTS.
int refuse_arguments(const std::string& complaint, std::ostream& errors);

// The one body of main: runs the program and returns its exit status; 1 after an exception, whose
// text goes to standard error.
int run_main(int (*run)(int argument_count, const char* const* arguments), int argument_count,
             const char* const* arguments);

} // namespace common
