#include <algorithm>

#include "bench/workloads/workload.h"

namespace bench {

namespace {
constexpr std::size_t ROUNDS = 25;
constexpr std::size_t QUICK_ROUNDS = 1;
constexpr double AIM = 1.5;
constexpr double SLOW_ROUTER_MS = 2000;
constexpr double QUICK_SLOW_ROUTER_MS = 100;

long count_answers(const std::map<std::string, std::string>& answers)
{
    long count = 0;
    for (const char* request :
         {"BK", "BK N", "BK R", "BK T", "BK I 15", "BK E ON", "QN L", "QN IS", "QN ID"}) {
        const std::string& answer = answers.at(request);
        count += std::count(answer.begin(), answer.end(), '\x04');
    }
    return count;
}

void await_connection(measured_program& program)
{
    serve_until({&program}, [&] { return program.router.connections == 1; });
}

bool tells_identity(measured_program& program)
{
    return hears(program, "\nmodel=Bench router\n");
}

// From the connection on, in milliseconds.
double time_discovery(measured_program& program)
{
    await_connection(program);
    const double start = now_in_us();
    serve_until({&program}, [&] { return tells_identity(program); });
    return (now_in_us() - start) / 1000;
}

figure measure_size(const bench_plan& plan, std::size_t size)
{
    const auto answers = router_answers(size, size);
    const std::string answer_count = std::to_string(count_answers(answers));
    paired_samples samples;
    const std::size_t rounds = plan.quick ? QUICK_ROUNDS : ROUNDS;
    const std::string text = std::to_string(size) + "×" + std::to_string(size);
    plan.progress(text.c_str(), 0, rounds);
    for (std::size_t i = 0; i < rounds; ++i) {
        samples.ours.push_back(time_discovery(*start_backend_on(plan.programs, answers)));
        samples.floor.push_back(
            time_discovery(*start_floor_on(plan.programs, "discovery", answers, {answer_count})));
        plan.progress(text.c_str(), i + 1, rounds);
    }
    figure measured = make_figure("discovery", text, "ms", samples);
    measured.aim = AIM;
    return measured;
}

// CPU of each second in which the router reads nothing, in milliseconds.
double wait_for_slow_router(measured_program& program, double milliseconds)
{
    program.router.reads = false;
    await_connection(program);
    serve_for({&program}, 20); // the requests are sent
    const double before = cpu_in_us(program);
    serve_for({&program}, milliseconds);
    const double used = cpu_in_us(program) - before;
    program.router.reads = true;
    serve_until({&program}, [&] { return tells_identity(program); });
    return used / milliseconds;
}

figure measure_slow_router(const bench_plan& plan)
{
    const auto answers = router_answers(16, 16);
    const std::string answer_count = std::to_string(count_answers(answers));
    const double milliseconds = plan.quick ? QUICK_SLOW_ROUTER_MS : SLOW_ROUTER_MS;
    const std::size_t rounds = plan.quick ? 1 : 3;
    paired_samples cpu;
    plan.progress("slow router", 0, rounds);
    for (std::size_t i = 0; i < rounds; ++i) {
        cpu.ours.push_back(
            wait_for_slow_router(*start_backend_on(plan.programs, answers), milliseconds));
        cpu.floor.push_back(wait_for_slow_router(
            *start_floor_on(plan.programs, "discovery", answers, {answer_count}), milliseconds));
        plan.progress("slow router", i + 1, rounds);
    }
    return make_figure("discovery", "CPU per second of waiting", "ms", cpu);
}
} // namespace

measurements measure_discovery(const bench_plan& plan)
{
    measurements found;
    found.figures = {measure_size(plan, 256), measure_size(plan, 1024), measure_slow_router(plan)};
    return found;
}

} // namespace bench
