// The soak as a program.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "soak/run.h"

namespace {
int run_program(int argument_count, const char* const* arguments)
{
    CLI::App app("Puts a backend between a misbehaving simulated router, whose output is this "
                 "program's standard input, and a parent that sends random commands, and holds "
                 "what everybody says against each other.",
                 "router_soak");
    soak::soak_options options;
    app.add_option("--seconds", options.seconds, "how long")->type_name("N")->capture_default_str();
    app.add_option("--seed", options.seed, "of the random commands")
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--backend", options.backend, "the backend's program")
        ->required()
        ->type_name("PATH");
    app.add_option("--output", options.output_folder, "folder for soak.svg and soak.json")
        ->required()
        ->type_name("FOLDER");
    app.footer(
        "Exit status: 0 when nothing was lost and nothing grew, 1 otherwise, 2 when it could "
        "not start.\nSIGINT and SIGTERM end the run early; what is open then is not judged.");
    try {
        app.parse(argument_count, arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return soak::run_soak(options);
}
} // namespace

int main(int argument_count, char** arguments)
{
    try {
        return run_program(argument_count, arguments);
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "%s\n", fault.what());
        return 2;
    }
}
