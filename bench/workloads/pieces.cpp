#include <cstdio>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "bench/figure_text.h"
#include "bench/workloads/workload.h"

namespace bench {

namespace {
std::string output_of(const std::string& command)
{
    std::FILE* const pipe = popen(command.c_str(), "r"); // NOLINT(cert-env33-c): our own program
    if (pipe == nullptr) throw std::runtime_error("Cannot run " + command);
    const std::string text = read_to_end(fileno(pipe));
    if (pclose(pipe) != 0) throw std::runtime_error(command + " has failed.");
    return text;
}
} // namespace

measurements measure_pieces(const bench_plan& plan)
{
    const std::string command = "'" + plan.programs.pieces + "' --benchmark_format=json" +
                                (plan.quick ? " --benchmark_min_time=0.001" : "");
    plan.progress("pieces", 0, 1);
    const nlohmann::json measured = nlohmann::json::parse(output_of(command));
    common::text_table table{.title = "The pieces",
                             .columns = {{"piece"}, {"CPU ns", true}, {"allocations", true}},
                             .rows = {}};
    for (const nlohmann::json& piece : measured.at("benchmarks"))
        table.rows.push_back({piece.at("name").get<std::string>(),
                              number_text(piece.at("cpu_time").get<double>()),
                              number_text(piece.at("allocations").get<double>())});
    plan.progress("pieces", 1, 1);
    return {.figures = {}, .tables = {table}};
}

} // namespace bench
