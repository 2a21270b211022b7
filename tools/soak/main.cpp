// The soak as a program.
#include <CLI/CLI.hpp>

#include "soak/run.h"
#include "tools/common/program.h"

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
    if (const auto status = common::parse_arguments(app, argument_count, arguments)) return *status;
    return soak::run_soak(options);
}
} // namespace

int main(int argument_count, char** arguments)
{
    return common::run_main(run_program, argument_count, arguments);
}
