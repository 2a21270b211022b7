// The soak as a program.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <unistd.h>

#include "soak/other_port.h"
#include "soak/random_parent.h"
#include "soak/run.h"
#include "tools/common/line_program.h"
#include "tools/common/program.h"

namespace {
constexpr int WAIT_MS = 20;
constexpr std::size_t LONGEST_FIRST_LINE = 200; // bytes
constexpr std::uint64_t MOST_SECONDS = std::uint64_t{366} * 24 * 3600;

volatile std::sig_atomic_t interrupted = 0;

void interrupt(int /*signal*/)
{
    interrupted = 1;
}

// Reads no further than the router's first line. False when that is another.
bool read_router_port(std::uint16_t& port)
{
    std::string line;
    for (char byte = 0;
         line.size() < LONGEST_FIRST_LINE && read(STDIN_FILENO, &byte, 1) == 1 && byte != '\n';)
        line += byte;
    return common::read_announced_port(line, port);
}

int run_program(int argument_count, const char* const* arguments)
{
    CLI::App app("Puts a backend between a misbehaving simulated router, whose output, with its "
                 "events as JSON, is this program's standard input, and a parent that sends random "
                 "commands, and holds what everybody says against each other.",
                 "router_soak");
    soak::run_options options;
    std::string backend_program;
    app.add_option("--seconds", options.seconds,
                   "how long, a minute at least, in which everything happens that it is to prove")
        ->type_name("N")
        ->check(CLI::Range(std::uint64_t{soak::LEAST_SECONDS}, MOST_SECONDS).description(""))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "of the random commands")
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--backend", backend_program, "the backend's program")
        ->required()
        ->type_name("PATH");
    app.add_option("--output", options.output_folder, "folder for soak.json")
        ->required()
        ->type_name("FOLDER");
    app.footer("Exit status: 0 when nothing was lost, invented or late, nothing grew beyond what "
               "is allowed\nand at least one of each was proved that a run claims to prove, 1 "
               "otherwise. SIGINT and\nSIGTERM end the run early; what is open then is not judged, "
               "what was not proved fails.");
    if (const auto status = common::parse_arguments(app, argument_count, arguments)) return *status;

    std::uint16_t port = 0;
    if (!read_router_port(port)) {
        std::fputs("The simulated router's lines are expected on standard input.\n", stderr);
        return 1;
    }
    options.port = std::to_string(port);
    std::error_code error;
    std::filesystem::create_directories(options.output_folder, error);
    const std::filesystem::path configuration = options.output_folder / "soak.conf";
    std::ofstream file(configuration);
    file << "ip address = 127.0.0.1\nport = " << port << "\n";
    if (!file.flush()) {
        std::fprintf(stderr, "Cannot write %s\n", configuration.c_str());
        return 1;
    }
    parent_link::backend_link backend;
    soak::other_port other_port;
    std::string failure;
    if (!open_other_port(other_port, failure) ||
        !start_backend(backend, backend_program,
                       {"--file", std::filesystem::absolute(configuration)}, failure)) {
        std::fprintf(stderr, "%s\n", failure.c_str());
        return 1;
    }
    options.other_port = std::to_string(other_port.number);
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    const auto wait = [](std::vector<pollfd>& descriptors) {
        poll(descriptors.data(), descriptors.size(), WAIT_MS);
    };
    return soak::run_soak(options, {.backend = backend,
                                    .router_lines = STDIN_FILENO,
                                    .wait = wait,
                                    .measure = soak::read_process_cost,
                                    .visited = [&] { return was_visited(other_port); },
                                    .interrupted = interrupted,
                                    .output = std::cout});
}
} // namespace

int main(int argument_count, char** arguments)
{
    return common::run_main(run_program, argument_count, arguments);
}
