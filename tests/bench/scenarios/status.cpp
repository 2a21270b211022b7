#include "bench/scenarios/scenario.h"
#include "bench/system_calls.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>

constexpr std::size_t CYCLES = 60;
constexpr std::size_t QUICK_CYCLES = 2;
constexpr std::size_t TRACED_CYCLES = 6;
constexpr double AIM = 1.2;
constexpr const char* CYCLE_MARK = "BK\\tFA6"; // as strace shows the request that begins one

// CPU of whole cycles of both, each from one first request to the next.
static paired_samples measure_cycles(const bench_plan& plan, rig& ours, rig& floor,
                                     std::size_t cycles)
{
    paired_samples cpu;
    const auto take_sample = [&](rig& rig, std::vector<double>& samples, double& before) {
        if (count_requests(rig.router, "BK F") == 0) return;
        rig.router.requests.clear();
        const double now = cpu_in_us(rig);
        if (before > 0) samples.push_back(now - before);
        before = now;
        plan.progress(std::min(cycles, cpu.ours.size()), cycles);
    };
    double our_start = 0;
    double floor_start = 0;
    serve_until({&ours, &floor}, [&] {
        take_sample(ours, cpu.ours, our_start);
        take_sample(floor, cpu.floor, floor_start);
        return cpu.ours.size() >= cycles && cpu.floor.size() >= cycles;
    });
    return cpu;
}

// Runs some cycles under strace.
static std::map<std::string, double> trace_cycles(rig& traced, const std::string& trace_file,
                                                  std::size_t cycles)
{
    serve_until({&traced},
                [&] { return count_requests(traced.router, "BK F") > static_cast<long>(cycles); });
    end_program(traced);
    return calls_per_span(trace_file, CYCLE_MARK);
}

static std::string count_text(const std::map<std::string, double>& calls, const std::string& name)
{
    const auto found = calls.find(name);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", found == calls.end() ? 0 : found->second);
    return text.data();
}

static text_table trace_both(const bench_plan& plan,
                             const std::map<std::string, std::string>& answers)
{
    const temporary_directory directory;
    const auto launcher = [&](const char* name) {
        return std::vector<std::string>{"strace", "-o", (directory.path / name).string()};
    };
    const std::size_t cycles = plan.quick ? QUICK_CYCLES : TRACED_CYCLES;
    const auto ours = trace_cycles(*start_backend_on(plan.programs, answers, launcher("ours")),
                                   directory.path / "ours", cycles);
    const auto floor =
        trace_cycles(*start_floor_on(plan.programs, "status", answers, {}, launcher("floor")),
                     directory.path / "floor", cycles);
    std::set<std::string> names;
    for (const auto* const calls : {&ours, &floor})
        for (const auto& [name, count] : *calls)
            names.insert(name);
    text_table table{.title = "System calls of a polling cycle, idle passes included",
                     .columns = {"call", "ours", "floor"},
                     .rows = {}};
    for (const std::string& name : names)
        table.rows.push_back({name, count_text(ours, name), count_text(floor, name)});
    return table;
}

findings measure_status(const bench_plan& plan)
{
    const auto answers = router_answers(256, 256);
    findings found;
    {
        const running_rig ours = start_backend_on(plan.programs, answers);
        const running_rig floor = start_floor_on(plan.programs, "status", answers);
        await_discovery(*ours);
        ours->router.requests.clear();
        const paired_samples cpu =
            measure_cycles(plan, *ours, *floor, plan.quick ? QUICK_CYCLES : CYCLES);
        found.figures = {make_figure("status", "CPU per cycle", "us", cpu)};
        found.figures[0].aim = AIM;
    }
    found.tables = {trace_both(plan, answers)};
    return found;
}
