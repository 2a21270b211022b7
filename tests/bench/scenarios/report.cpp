#include "bench/scenarios/scenario.h"

#include "common/numbers.h"
#include "support/frames.h"

constexpr std::size_t ROUTES = 256;
constexpr std::size_t ROUNDS = 40;
constexpr std::size_t QUICK_ROUNDS = 2;

static std::string routes_at_once(std::uint32_t source)
{
    std::string frames;
    for (std::uint32_t i = 1; i <= ROUTES; ++i)
        frames += frame(body("IQ", {upper_hex(i), "0", "0", "N", upper_hex(source)}));
    return frames;
}

// CPU of the program from the routes to the record about them.
static double report_cost(rig& rig, const std::string& frames)
{
    rig.heard.clear();
    const double before = cpu_in_us(rig);
    send_bytes(rig.router, frames);
    serve_until({&rig}, [&] { return hears(rig, "\no99.input.all="); });
    return cpu_in_us(rig) - before;
}

findings measure_report(const bench_plan& plan)
{
    const auto answers = router_answers(ROUTES, ROUTES);
    const running_rig ours = start_backend_on(plan.programs, answers);
    const running_rig floor =
        start_floor_on(plan.programs, "report", answers, {std::to_string(ROUTES)});
    await_discovery(*ours);
    serve_until({floor.get()}, [&] { return floor->router.connections == 1; });
    paired_samples cpu;
    const std::size_t rounds = plan.quick ? QUICK_ROUNDS : ROUNDS;
    for (std::size_t i = 0; i < rounds; ++i) {
        const std::string frames = routes_at_once(static_cast<std::uint32_t>(1 + i % ROUTES));
        await_end_of_cycle(*ours);
        cpu.ours.push_back(report_cost(*ours, frames));
        cpu.floor.push_back(report_cost(*floor, frames));
        plan.progress(i + 1, rounds);
    }
    findings found;
    found.figures = {make_figure("report", "CPU of 256 routes", "us", cpu)};
    return found;
}
