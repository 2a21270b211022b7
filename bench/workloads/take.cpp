#include <algorithm>
#include <array>

#include "bench/figure_text.h"
#include "bench/workloads/workload.h"

namespace bench {

namespace {
constexpr std::size_t TAKES = 1000;
constexpr std::size_t QUICK_TAKES = 5;
constexpr double PACING_US = 75'000; // between two flushes, a little more than the backend asks for
constexpr std::array<std::size_t, 4> SALVOS = {1, 16, 64, 256};
constexpr std::size_t SALVO_ROUNDS = 5;
constexpr double LONGEST_PACING_MS = 760;
constexpr double AIM = 1.25;

// The part of a polling cycle in which the link is idle: from a little behind its last answer until
// well before the next cycle can begin.
constexpr double QUIET_FROM_US = 20'000;
constexpr double QUIET_TO_US = 250'000;

struct take_sides {
    running_program ours;
    running_program floor;
    double last_cycle = 0; // when the backend's last polling cycle ended
    double last_flush = 0; // of the backend
};

// Notes when a polling cycle has ended, and forgets requests that mean nothing here.
void watch_cycle(take_sides& programs)
{
    if (count_requests(programs.ours->router, "QD") > 0) programs.last_cycle = now_in_us();
    programs.ours->router.requests.clear();
}

void await_quiet(take_sides& programs)
{
    serve_until({programs.ours.get(), programs.floor.get()}, [&] {
        watch_cycle(programs);
        const double now = now_in_us();
        return now >= programs.last_cycle + QUIET_FROM_US &&
               now < programs.last_cycle + QUIET_TO_US && now >= programs.last_flush + PACING_US;
    });
}

// From a flush to the route change at this program's router, in microseconds.
double time_flush(take_sides& programs, measured_program& flushed)
{
    flushed.router.requests.clear();
    const double start = now_in_us();
    say(flushed, FLUSH_RECORD);
    serve_until({programs.ours.get(), programs.floor.get()},
                [&] { return count_takes(flushed) > 0; });
    return now_in_us() - start;
}

double time_our_take(take_sides& programs, int input)
{
    programs.ours->heard.clear();
    say(*programs.ours, add_record(1, input));
    serve_until({programs.ours.get()}, [&] { return hears(*programs.ours, "*TYPE=reply\n\n"); });
    await_quiet(programs);
    const double duration = time_flush(programs, *programs.ours);
    programs.last_flush = now_in_us();
    return duration;
}

// The routers here do not confirm takes.
common::text_table measure_salvos(const bench_plan& plan)
{
    const running_program ours = start_backend_on(plan.programs, router_answers(256, 256));
    await_discovery(*ours);
    common::text_table table{.title = "Route changes flushed at once",
                             .columns = {{"changes", true},
                                         {"until the last us", true},
                                         {"CPU us", true},
                                         {"CPU us each", true}},
                             .rows = {}};
    std::size_t done = 0;
    plan.progress("salvos", done, SALVOS.size());
    for (const std::size_t takes : SALVOS) {
        std::vector<double> duration;
        std::vector<double> cpu;
        for (std::size_t round = 0; round < (plan.quick ? 1 : SALVO_ROUNDS); ++round) {
            const salvo_cost cost = send_salvo(*ours, takes, static_cast<int>(round));
            duration.push_back(cost.us);
            cpu.push_back(cost.cpu_us);
            serve_for({ours.get()}, LONGEST_PACING_MS);
        }
        const double each = quantile_of(cpu, 0.5) / static_cast<double>(takes);
        table.rows.push_back({std::to_string(takes), number_text(quantile_of(duration, 0.5)),
                              number_text(quantile_of(cpu, 0.5)), number_text(each)});
        plan.progress("salvos", ++done, SALVOS.size());
    }
    return table;
}
} // namespace

measurements measure_take(const bench_plan& plan)
{
    const auto answers = router_answers(16, 16);
    take_sides programs{.ours = start_backend_on(plan.programs, answers),
                        .floor = start_floor_on(plan.programs, "take", answers)};
    await_discovery(*programs.ours);
    paired_samples samples;
    const std::size_t takes = plan.quick ? QUICK_TAKES : TAKES;
    plan.progress("takes", 0, takes);
    for (std::size_t i = 0; i < takes; ++i) {
        await_quiet(programs);
        samples.ours.push_back(time_our_take(programs, static_cast<int>(i % 16)));
        serve_for({programs.ours.get(), programs.floor.get()}, 10);
        watch_cycle(programs);
        samples.floor.push_back(time_flush(programs, *programs.floor));
        plan.progress("takes", i + 1, takes);
    }
    measurements found;
    for (const auto& [measure, quantile] : {std::pair{"p50", 0.5}, std::pair{"p99", 0.99}}) {
        found.figures.push_back(make_figure("take", measure, "us", samples, quantile));
        found.figures.back().aim = AIM;
    }
    found.tables = {measure_salvos(plan)};
    return found;
}

} // namespace bench
