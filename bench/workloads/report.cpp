#include "bench/workloads/workload.h"
#include "common/numbers.h"
#include "support/frames.h"

namespace bench {

namespace {
constexpr std::size_t ROUTES = 256;
constexpr std::size_t ROUNDS = 40;
constexpr std::size_t QUICK_ROUNDS = 2;

std::string routes_at_once(std::uint32_t source)
{
    std::string frames;
    for (std::uint32_t i = 1; i <= ROUTES; ++i)
        frames += frame(body("IQ", {upper_hex(i), "0", "0", "N", upper_hex(source)}));
    return frames;
}

// Whether one record holds all routes. Anything else is forgotten.
bool hears_report(measured_program& program)
{
    const std::size_t end = program.heard.find("\n\n");
    if (end == std::string::npos) return false;
    const std::string record = program.heard.substr(0, end);
    program.heard.erase(0, end + 2);
    std::size_t routes = 0;
    for (std::size_t at = 0; (at = record.find(".input.all=", at)) != std::string::npos; ++at)
        ++routes;
    return routes == ROUTES;
}

double floor_cpu(measured_program& floor, const std::string& frames)
{
    const double before = cpu_in_us(floor);
    send_bytes(floor.router, frames);
    serve_until({&floor}, [&] { return hears_report(floor); });
    return settled_cpu_in_us(floor) - before;
}
} // namespace

measurements measure_report(const bench_plan& plan)
{
    const auto answers = router_answers(ROUTES, ROUTES);
    const running_program ours = start_backend_on(plan.programs, answers);
    const running_program floor =
        start_floor_on(plan.programs, "report", answers, {std::to_string(ROUTES)});
    await_discovery(*ours);
    serve_until({floor.get()}, [&] { return floor->router.connections == 1; });
    paired_samples cpu;
    const std::size_t rounds = plan.quick ? QUICK_ROUNDS : ROUNDS;
    plan.progress("rounds", 0, rounds);
    for (std::size_t i = 0; i < rounds; ++i) {
        const std::string frames = routes_at_once(static_cast<std::uint32_t>(1 + i % ROUTES));
        cpu.ours.push_back(show_routes(*ours, frames, [&] { return hears_report(*ours); }));
        cpu.floor.push_back(floor_cpu(*floor, frames));
        plan.progress("rounds", i + 1, rounds);
    }
    measurements found;
    found.figures = {make_figure("report", "CPU of 256 routes", "us", cpu)};
    return found;
}

} // namespace bench
