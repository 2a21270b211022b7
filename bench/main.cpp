// The benchmarks as a program.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <unistd.h>

#include "bench/bench_run.h"
#include "bench/chart.h"
#include "bench/workloads/workload.h"

namespace {
struct bench_options {
    std::string programs;
    std::string output_folder;
    std::string last_run; // "": none
    std::string commit;
    std::vector<std::string> scenarios;
    bool quick = false;
};

struct named_scenario {
    const char* name;
    findings (*measure)(const bench_plan& plan);
};

constexpr std::array<named_scenario, 9> ALL_SCENARIOS = {{
    {"take", measure_take},
    {"commands", measure_commands},
    {"status", measure_status},
    {"discovery", measure_discovery},
    {"report", measure_report},
    {"start", measure_start},
    {"memory", measure_memory},
    {"fleet", measure_fleet},
    {"pieces", measure_pieces},
}};

// On a terminal the line is written over and over.
void show_progress(const char* scenario, const char* step, std::size_t done, std::size_t all)
{
    if (isatty(STDERR_FILENO) != 0)
        std::fprintf(stderr, "\r%-10s %s: %zu of %zu %s", scenario, step, done, all,
                     done == all ? "\n" : "");
    else if (done == all)
        std::fprintf(stderr, "%-10s %s: %zu of %zu\n", scenario, step, done, all);
}

bool is_wanted(const bench_options& options, const char* name)
{
    return options.scenarios.empty() ||
           std::find(options.scenarios.begin(), options.scenarios.end(), name) !=
               options.scenarios.end();
}

findings measure_scenario(const named_scenario& scenario, const bench_options& options)
{
    return scenario.measure({.programs = {.backend = options.programs + "/routing_switcher_backend",
                                          .floor_folder = options.programs,
                                          .pieces = options.programs + "/bench_pieces"},
                             .quick = options.quick,
                             .progress = [&](const char* step, std::size_t done, std::size_t all) {
                                 show_progress(scenario.name, step, done, all);
                             }});
}

// What cannot be measured is said and left out; `complete` tells whether there was none.
bench_run measure(const bench_options& options, bool& complete)
{
    bench_run run{.commit = options.commit, .machine = this_machine(), .figures = {}, .tables = {}};
    for (const named_scenario& scenario : ALL_SCENARIOS) {
        if (!is_wanted(options, scenario.name)) continue;
        try {
            const findings found = measure_scenario(scenario, options);
            run.figures.insert(run.figures.end(), found.figures.begin(), found.figures.end());
            run.tables.insert(run.tables.end(), found.tables.begin(), found.tables.end());
        } catch (const std::exception& fault) {
            std::fprintf(stderr, "\n%-10s cannot be measured: %s\n", scenario.name, fault.what());
            complete = false;
        }
    }
    return run;
}

void write_files(const bench_run& run, const std::string& folder)
{
    std::filesystem::create_directories(folder);
    std::ofstream(folder + "/bench.json") << run_json(run);
    std::ofstream chart(folder + "/bench.svg");
    write_chart(chart, run.figures);
    std::ofstream document(folder + "/bench.md");
    document << markdown_text(figures_table(run.figures));
    for (const text_table& table : run.tables)
        document << '\n' << markdown_text(table);
}

void print_run(const bench_run& run, const bench_options& options)
{
    std::optional<bench_run> last;
    if (!options.last_run.empty() && !options.quick) last = load_run(options.last_run, std::cerr);
    std::cout << '\n'
              << terminal_text(
                     figures_table(run.figures, last ? last->figures : std::vector<figure>{}));
    if (last)
        std::cout << "\nThe last run was of " << last->commit << ", on " << last->machine.cores
                  << " cores of " << last->machine.processor << ", Linux " << last->machine.kernel
                  << ".\n";
    for (const text_table& table : run.tables)
        std::cout << '\n' << terminal_text(table);
}

int run_program(int argument_count, const char* const* arguments)
{
    CLI::App app("Measures the backend beside programs that make the same system calls and nothing "
                 "else, in turns, and prints what is ours of the cost.",
                 "router_bench");
    bench_options options;
    app.add_option("--programs", options.programs, "folder with the programs to measure")
        ->required()
        ->type_name("FOLDER");
    app.add_option("--output", options.output_folder,
                   "folder for bench.json, bench.svg and bench.md")
        ->required()
        ->type_name("FOLDER");
    app.add_option("--last", options.last_run, "bench.json of a run to compare with")
        ->type_name("FILE");
    app.add_option("--commit", options.commit, "what is measured, for the file")->type_name("TEXT");
    app.add_flag("--quick", options.quick, "few repetitions: shows that it works, not how fast");
    std::vector<std::string> names;
    for (const named_scenario& scenario : ALL_SCENARIOS)
        names.emplace_back(scenario.name);
    app.add_option("scenario", options.scenarios, "what to measure; everything")
        ->check(CLI::IsMember(names));
    app.footer(
        "Exit status: 0 when all was measured, whatever came out; 2 when something could not be.");
    try {
        app.parse(argument_count, arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    bool complete = true;
    const bench_run run = measure(options, complete);
    write_files(run, options.output_folder);
    print_run(run, options);
    return complete ? 0 : 2;
}
} // namespace

int main(int argument_count, char** arguments)
{
    try {
        return run_program(argument_count, arguments);
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "\n%s\n", fault.what());
        return 2;
    }
}
