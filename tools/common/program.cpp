#include "tools/common/program.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace common {

namespace {
std::string complaint_of(const std::string& argument)
{
    return (argument.starts_with('-') ? "unknown option " : "unexpected argument ") + argument;
}
} // namespace

int refuse_arguments(const std::string& complaint, std::ostream& errors)
{
    errors << complaint << "\nRun with --help for more information.\n";
    return EXIT_WRONG_ARGUMENTS;
}

std::optional<int> parse_arguments(CLI::App& app, int argument_count, const char* const* arguments,
                                   std::ostream& output, std::ostream& errors)
{
    app.set_help_flag("-h,--help", "print this text and exit");
    app.set_version_flag("--version", app.get_name() + " " PROJECT_VERSION,
                         "print the version and exit");
    try {
        app.parse(argument_count, arguments);
    } catch (const CLI::ExtrasError&) {
        return refuse_arguments(complaint_of(app.remaining().front()), errors);
    } catch (const CLI::ParseError& outcome) {
        return app.exit(outcome, output, errors) == 0 ? 0 : EXIT_WRONG_ARGUMENTS;
    }
    const std::vector<std::string> words = app.remaining();
    if (words.empty() || !words.front().starts_with('-')) return std::nullopt;
    return refuse_arguments(complaint_of(words.front()), errors);
}

std::optional<int> parse_arguments(CLI::App& app, int argument_count, const char* const* arguments)
{
    return parse_arguments(app, argument_count, arguments, std::cout, std::cerr);
}

int run_main(int (*run)(int argument_count, const char* const* arguments), int argument_count,
             const char* const* arguments)
{
    try {
        return run(argument_count, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", arguments[0], error.what());
        return 1;
    }
}

} // namespace common
