#include <stdexcept>
#include <unistd.h>

#include "bench/workloads/workload.h"

namespace bench {

namespace {
constexpr std::size_t RECORDS = 20'000;
constexpr std::size_t QUICK_RECORDS = 500;
constexpr std::size_t ROUNDS = 9;
constexpr double RATE_AIM = 0.85;
constexpr const char* RECORD = "*COMMAND=report\n*TYPE=command\n*ID=12345\nwhat=inputs\n\n";

struct command_cost {
    double records_per_second = 0;
    double cpu_us = 0; // per record
};

std::size_t remove_replies(measured_program& program)
{
    std::size_t count = 0;
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = program.heard.find("\n\n", begin)) != std::string::npos;) {
        begin = end + 2;
        ++count;
    }
    program.heard.erase(0, begin);
    return count;
}

// Writes as the pipe accepts it and reads what comes, until each record has been answered.
command_cost answer_all(measured_program& program, std::size_t records)
{
    std::string text;
    for (std::size_t i = 0; i < records; ++i)
        text += RECORD;
    std::string error;
    if (!common::set_nonblocking(program.pipes.input.number, error))
        throw std::runtime_error(error);
    const double cpu_before = cpu_in_us(program);
    const double start = now_in_us();
    std::string_view unsent = text;
    std::size_t answered = 0;
    serve_until({&program}, [&] {
        const ssize_t count = write(program.pipes.input.number, unsent.data(), unsent.size());
        if (count > 0) unsent.remove_prefix(static_cast<std::size_t>(count));
        answered += remove_replies(program);
        return answered >= records;
    });
    const auto all = static_cast<double>(records);
    const double rate = all / (now_in_us() - start) * 1e6;
    return {rate, (settled_cpu_in_us(program) - cpu_before) / all};
}
} // namespace

measurements measure_commands(const bench_plan& plan)
{
    measured_program ours;
    measured_program floor;
    start_program(ours,
                  {plan.programs.backend, "--file", ours.directory.file("no_router.conf", "")});
    start_program(floor, {plan.programs.floor_folder + "/floor_commands"});
    serve_until({&ours}, [&] { return remove_replies(ours) > 0; });
    const std::size_t records = plan.quick ? QUICK_RECORDS : RECORDS;
    const std::size_t rounds = plan.quick ? 1 : ROUNDS;
    paired_samples rate;
    paired_samples cpu;
    plan.progress("rounds", 0, rounds);
    for (std::size_t i = 0; i < rounds; ++i) {
        const command_cost our_cost = answer_all(ours, records);
        const command_cost floor_cost = answer_all(floor, records);
        rate.ours.push_back(our_cost.records_per_second);
        rate.floor.push_back(floor_cost.records_per_second);
        cpu.ours.push_back(our_cost.cpu_us);
        cpu.floor.push_back(floor_cost.cpu_us);
        plan.progress("rounds", i + 1, rounds);
    }
    measurements found;
    found.figures = {make_figure("commands", "rate", "records/s", rate),
                     make_figure("commands", "CPU per record", "us", cpu)};
    found.figures[0].direction = better::more;
    found.figures[0].aim = RATE_AIM;
    return found;
}

} // namespace bench
