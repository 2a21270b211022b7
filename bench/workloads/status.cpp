#include <array>
#include <set>
#include <stdexcept>

#include "bench/figure_text.h"
#include "bench/system_calls.h"
#include "bench/workloads/workload.h"

namespace bench {

namespace {
constexpr std::size_t CYCLES = 60;
constexpr std::size_t QUICK_CYCLES = 2;
constexpr std::size_t TRACED_CYCLES = 6;
constexpr std::size_t GROWTH_CYCLES = 12;
constexpr std::array<std::size_t, 4> ROUTER_SIZES = {16, 64, 256, 1024};
constexpr double AIM = 1.2;
constexpr const char* CYCLE_MARK = "BK\\tFA6"; // as strace shows the request that begins one

// Adds the CPU from one first request of a cycle to the next.
void note_cycle(measured_program& program, std::vector<double>& samples, double& before)
{
    if (count_requests(program.router, "BK F") == 0) return;
    program.router.requests.clear();
    const double now = cpu_in_us(program);
    if (before > 0) samples.push_back(now - before);
    before = now;
}

paired_samples measure_cycles(const bench_plan& plan, measured_program& ours,
                              measured_program& floor, std::size_t cycles)
{
    paired_samples cpu;
    plan.progress("cycles", 0, cycles);
    double our_start = 0;
    double floor_start = 0;
    serve_until({&ours, &floor}, [&] {
        const std::size_t seen = cpu.ours.size();
        note_cycle(ours, cpu.ours, our_start);
        note_cycle(floor, cpu.floor, floor_start);
        if (cpu.ours.size() > seen && seen < cycles) plan.progress("cycles", seen + 1, cycles);
        return cpu.ours.size() >= cycles && cpu.floor.size() >= cycles;
    });
    return cpu;
}

// Runs some cycles under strace.
std::map<std::string, double> trace_cycles(measured_program& traced, const std::string& trace_file,
                                           std::size_t cycles)
{
    const auto wanted = static_cast<long>(cycles) + 1;
    serve_until({&traced}, [&] { return count_requests(traced.router, "QD") >= wanted; });
    end_program(traced);
    std::map<std::string, double> calls = calls_per_span(trace_file, CYCLE_MARK);
    if (calls.empty())
        throw std::runtime_error("strace shows no polling cycle; may it trace here?");
    return calls;
}

std::string count_text(const std::map<std::string, double>& calls, const std::string& name)
{
    const auto found = calls.find(name);
    return number_text(found == calls.end() ? 0 : found->second);
}

common::text_table trace_both(const bench_plan& plan,
                              const std::map<std::string, std::string>& answers)
{
    const temporary_directory directory;
    const auto launcher = [&](const char* name) {
        return std::vector<std::string>{"strace", "-o", (directory.path / name).string()};
    };
    const std::size_t cycles = plan.quick ? QUICK_CYCLES : TRACED_CYCLES;
    plan.progress("traces", 0, 2);
    const auto ours = trace_cycles(*start_backend_on(plan.programs, answers, launcher("ours")),
                                   directory.path / "ours", cycles);
    plan.progress("traces", 1, 2);
    const auto floor =
        trace_cycles(*start_floor_on(plan.programs, "status", answers, {}, launcher("floor")),
                     directory.path / "floor", cycles);
    plan.progress("traces", 2, 2);
    std::set<std::string> names;
    for (const auto* const calls : {&ours, &floor})
        for (const auto& [name, count] : *calls)
            names.insert(name);
    common::text_table table{.title = "System calls of a polling cycle, idle passes included",
                             .columns = {{"call"}, {"ours", true}, {"floor", true}},
                             .rows = {}};
    for (const std::string& name : names)
        table.rows.push_back({name, count_text(ours, name), count_text(floor, name)});
    return table;
}

// CPU of a cycle with routers of these sizes, side by side.
common::text_table measure_growth(const bench_plan& plan)
{
    std::vector<running_program> sized;
    std::vector<measured_program*> programs;
    std::vector<std::vector<double>> cpu(ROUTER_SIZES.size());
    std::vector<double> before(ROUTER_SIZES.size());
    for (const std::size_t size : ROUTER_SIZES) {
        sized.push_back(start_backend_on(plan.programs, router_answers(size, size)));
        programs.push_back(sized.back().get());
    }
    const std::size_t cycles = plan.quick ? QUICK_CYCLES : GROWTH_CYCLES;
    plan.progress("sizes", 0, 1);
    serve_until(programs, [&] {
        bool all = true;
        for (std::size_t i = 0; i < programs.size(); ++i) {
            note_cycle(*programs[i], cpu[i], before[i]);
            all = all && cpu[i].size() >= cycles;
        }
        return all;
    });
    plan.progress("sizes", 1, 1);
    common::text_table table{.title = "A polling cycle by the size of the router",
                             .columns = {{"sources × destinations", true}, {"CPU us", true}},
                             .rows = {}};
    for (std::size_t i = 0; i < ROUTER_SIZES.size(); ++i) {
        std::string size = std::to_string(ROUTER_SIZES[i]);
        size += " × " + size;
        table.rows.push_back({size, number_text(quantile_of(cpu[i], 0.5))});
    }
    return table;
}
} // namespace

measurements measure_status(const bench_plan& plan)
{
    const auto answers = router_answers(256, 256);
    measurements found;
    {
        const running_program ours = start_backend_on(plan.programs, answers);
        const running_program floor = start_floor_on(plan.programs, "status", answers);
        await_discovery(*ours);
        ours->router.requests.clear();
        const paired_samples cpu =
            measure_cycles(plan, *ours, *floor, plan.quick ? QUICK_CYCLES : CYCLES);
        found.figures = {make_figure("status", "CPU per cycle", "us", cpu)};
        found.figures[0].aim = AIM;
    }
    found.tables = {trace_both(plan, answers), measure_growth(plan)};
    return found;
}

} // namespace bench
