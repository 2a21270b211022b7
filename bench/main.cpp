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
#include "bench/figure_text.h"
#include "bench/workloads/workload.h"
#include "tools/common/program.h"

namespace bench {

namespace {
struct bench_options {
    std::string programs;
    std::string output_folder;
    std::string last_run; // "": none
    std::string commit;
    std::vector<std::string> workloads;
    bool quick = false;
};

struct named_workload {
    const char* name;
    measurements (*measure)(const bench_plan& plan);
};

constexpr std::array<named_workload, 15> WORKLOADS = {{
    {"take", measure_take},
    {"commands", measure_commands},
    {"status", measure_status},
    {"discovery", measure_discovery},
    {"report", measure_report},
    {"start", measure_start},
    {"memory", measure_memory},
    {"fleet", measure_fleet},
    {"wish", measure_wish},
    {"routers", measure_routers},
    {"trace", measure_trace},
    {"desk", measure_desk},
    {"history", measure_history},
    {"control", measure_control},
    {"pieces", measure_pieces},
}};

// On a terminal the line is written over and over.
void show_progress(const char* workload, const char* step, std::size_t done, std::size_t all)
{
    if (isatty(STDERR_FILENO) != 0)
        std::fprintf(stderr, "\r%-10s %s: %zu of %zu %s", workload, step, done, all,
                     done == all ? "\n" : "");
    else if (done == all)
        std::fprintf(stderr, "%-10s %s: %zu of %zu\n", workload, step, done, all);
}

bool is_wanted(const bench_options& options, const char* name)
{
    const auto& wanted = options.workloads;
    return wanted.empty() || std::find(wanted.begin(), wanted.end(), name) != wanted.end();
}

// What cannot be measured is said and left out; `complete` tells whether there was none.
bench_run measure(const bench_options& options, bool& complete)
{
    bench_run run{.commit = options.commit, .machine = this_machine(), .figures = {}, .tables = {}};
    const program_paths programs = {.backend = options.programs + "/routing_switcher_backend",
                                    .floor_folder = options.programs,
                                    .pieces = options.programs + "/bench_pieces",
                                    .server = options.programs + "/bench_server",
                                    .plain_parent = options.programs + "/bench_plain_parent",
                                    .talker = options.programs + "/bench_talker",
                                    .control = options.programs + "/router_control"};
    for (const named_workload& workload : WORKLOADS) {
        if (!is_wanted(options, workload.name)) continue;
        try {
            const measurements found = workload.measure(
                {.programs = programs,
                 .quick = options.quick,
                 .progress = [&](const char* step, std::size_t done, std::size_t all) {
                     show_progress(workload.name, step, done, all);
                 }});
            run.figures.insert(run.figures.end(), found.figures.begin(), found.figures.end());
            run.tables.insert(run.tables.end(), found.tables.begin(), found.tables.end());
        } catch (const std::exception& error) {
            std::fprintf(stderr, "\n%-10s cannot be measured: %s\n", workload.name, error.what());
            complete = false;
        }
    }
    return run;
}

// False when one cannot be written.
bool write_files(const bench_run& run, const std::string& folder)
{
    std::ofstream figures(folder + "/bench.json");
    figures << run_json(run) << std::flush;
    std::ofstream document(folder + "/bench.md");
    document << markdown_text(figures_table(run.figures));
    for (const common::text_table& table : run.tables)
        document << '\n' << markdown_text(table);
    document.flush();
    return figures.good() && document.good();
}

void print_run(const bench_run& run, const std::optional<bench_run>& last)
{
    std::cout << '\n'
              << terminal_text(
                     figures_table(run.figures, last ? last->figures : std::vector<figure>{}));
    if (last)
        std::cout << "\nThe last run was of " << last->commit << ", on " << last->machine.cores
                  << " cores of " << last->machine.processor << ", Linux " << last->machine.kernel
                  << ".\n";
    for (const common::text_table& table : run.tables)
        std::cout << '\n' << terminal_text(table);
}

int run_program(int argument_count, const char* const* arguments)
{
    CLI::App app(
        "Measures the backend in turns with its floors, programs that make the same system "
        "calls and do little else, and a desk beside its backends, and prints what is ours of the "
        "cost.",
        "router_bench");
    bench_options options;
    app.add_option("--programs", options.programs, "folder with the programs to measure")
        ->required()
        ->type_name("FOLDER");
    app.add_option("--output", options.output_folder, "folder for bench.json and bench.md")
        ->required()
        ->type_name("FOLDER");
    app.add_option("--last", options.last_run, "bench.json of a run to compare with")
        ->type_name("FILE");
    app.add_option("--commit", options.commit, "what is measured, for the file")->type_name("TEXT");
    app.add_flag("--quick", options.quick, "few repetitions: shows that it works, not how fast");
    std::vector<std::string> names;
    names.reserve(WORKLOADS.size());
    for (const named_workload& workload : WORKLOADS)
        names.emplace_back(workload.name);
    app.add_option("workload", options.workloads, "what to measure; everything")
        ->check(CLI::IsMember(names));
    app.footer("Exit status: 0 when all was measured, whatever came out; 1 when something could "
               "not be, or an argument is wrong.");
    if (const auto status = common::parse_arguments(app, argument_count, arguments)) return *status;
    std::signal(SIGPIPE, SIG_IGN);
    std::filesystem::create_directories(options.output_folder); // minutes before it is written to
    std::optional<bench_run> last;
    if (!options.last_run.empty() && !options.quick) last = load_run(options.last_run, std::cerr);
    bool complete = true;
    const bench_run run = measure(options, complete);
    print_run(run, last);
    if (!write_files(run, options.output_folder)) {
        std::fprintf(stderr, "Cannot write the figures to %s\n", options.output_folder.c_str());
        return 1;
    }
    return complete ? 0 : 1;
}
} // namespace

} // namespace bench

int main(int argument_count, char** arguments)
{
    return common::run_main(bench::run_program, argument_count, arguments);
}
