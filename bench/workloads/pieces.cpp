#include <nlohmann/json.hpp>
#include <stdexcept>

#include "bench/figure_text.h"
#include "bench/workloads/workload.h"

namespace bench {

namespace {
std::string output_of(const std::vector<std::string>& words)
{
    common::child_process child;
    common::child_pipes pipes;
    std::string error;
    if (!common::start_on_pipes(child, pipes, words, common::error_output::inherited, error))
        throw std::runtime_error(error);
    std::string text;
    common::read_to_end(pipes.output.number, text);
    if (common::status_at_end(child) != 0) throw std::runtime_error(words[0] + " has failed.");
    return text;
}
} // namespace

measurements measure_pieces(const bench_plan& plan)
{
    std::vector<std::string> words = {plan.programs.pieces, "--benchmark_format=json"};
    if (plan.quick) words.emplace_back("--benchmark_min_time=0.001");
    plan.progress("pieces", 0, 1);
    const nlohmann::json measured = nlohmann::json::parse(output_of(words));
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
