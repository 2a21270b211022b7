#include "bench/workloads/workload.h"

namespace bench {

namespace {
constexpr std::size_t ROUNDS = 200;
constexpr std::size_t QUICK_ROUNDS = 3;
constexpr double AIM = 1.3;

double time_start(const std::vector<std::string>& words)
{
    measured_program started;
    const double start = now_in_us();
    start_program(started, words);
    serve_until({&started}, [&] { return !started.heard.empty(); });
    return now_in_us() - start;
}
} // namespace

measurements measure_start(const bench_plan& plan)
{
    const temporary_directory directory;
    const std::string settings = directory.file("no_router.conf", "");
    paired_samples samples;
    paired_samples beside_usual;
    const std::size_t rounds = plan.quick ? QUICK_ROUNDS : ROUNDS;
    plan.progress("starts", 0, rounds);
    for (std::size_t i = 0; i < rounds; ++i) {
        samples.ours.push_back(time_start({plan.programs.backend, "--file", settings}));
        samples.floor.push_back(time_start({plan.programs.floor_folder + "/floor_empty"}));
        beside_usual.floor.push_back(
            time_start({plan.programs.floor_folder + "/floor_empty_shared"}));
        plan.progress("starts", i + 1, rounds);
    }
    measurements found;
    beside_usual.ours = samples.ours;
    found.figures = {make_figure("start", "first record", "us", samples),
                     make_figure("start", "beside a usual program", "us", beside_usual)};
    found.figures[0].aim = AIM;
    return found;
}

} // namespace bench
