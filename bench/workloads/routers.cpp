#include <sstream>

#include "bench/workloads/workload.h"
#include "support/frames.h"

namespace bench {

namespace {
constexpr std::size_t ROUTERS = 200;
constexpr std::size_t QUICK_ROUTERS = 3;
constexpr std::size_t PORTS = 64;
constexpr std::size_t WINDOWS = 10;
constexpr std::size_t QUICK_WINDOWS = 2;
constexpr double WINDOW_MS = 1000;
constexpr double SETTLING_MS = 3000;
constexpr double AIM = 1;
constexpr std::size_t FRAMES = 1000; // more than are kept of a router

struct many_routers {
    running_program server; // with the first of the routers
    std::vector<running_program> others{};
    std::vector<measured_program*> programs{}; // all of them
    std::vector<pid_t> backends{};
};

many_routers start_routers(const bench_plan& plan, std::size_t count)
{
    const auto answers = router_answers(PORTS, PORTS);
    many_routers started;
    std::vector<std::string> ports;
    for (std::size_t i = 1; i < count; ++i) {
        started.others.push_back(start_router(answers));
        started.programs.push_back(started.others.back().get());
        ports.push_back(std::to_string(started.others.back()->router.port));
    }
    started.server = start_server_on(plan.programs, answers, ports);
    started.programs.push_back(started.server.get());
    serve_until(started.programs, [&] { return hears(*started.server, "ready"); });
    std::istringstream numbers(started.server->heard);
    for (pid_t backend = 0; numbers >> backend;)
        started.backends.push_back(backend);
    return started;
}

// So that what is kept of their traffic grows no more. Each shows a route many times over as soon
// as a cycle of polling has ended: the next one would throw away what it finds.
void fill_traces(many_routers& started)
{
    std::string frames;
    for (std::size_t i = 0; i < FRAMES; ++i)
        frames += frame(body("IQ", {"1", "0", "0", "N", "1"}));
    std::vector<measured_program*> left = started.programs;
    for (measured_program* const each : left)
        each->router.requests.clear();
    serve_until(started.programs, [&] {
        std::erase_if(left, [&](measured_program* each) {
            if (count_requests(each->router, "QD") == 0) return false;
            send_bytes(each->router, frames);
            return true;
        });
        return left.empty();
    });
}

double cpu_of_backends(const many_routers& started)
{
    double us = 0;
    for (const pid_t backend : started.backends)
        us += cpu_in_us(backend);
    return us;
}

// Of each second of polling, in milliseconds.
paired_samples measure_cpu(const bench_plan& plan, many_routers& started)
{
    paired_samples ms;
    const std::size_t windows = plan.quick ? QUICK_WINDOWS : WINDOWS;
    plan.progress("seconds", 0, windows);
    for (std::size_t i = 0; i < windows; ++i) {
        const double start = now_in_us();
        const double ours = cpu_in_us(*started.server);
        const double backends = cpu_of_backends(started);
        serve_for(started.programs, WINDOW_MS);
        const double seconds = (now_in_us() - start) / 1e6;
        ms.ours.push_back((cpu_in_us(*started.server) - ours) / 1000 / seconds);
        ms.floor.push_back((cpu_of_backends(started) - backends) / 1000 / seconds);
        for (measured_program* const each : started.programs)
            each->router.requests.clear();
        plan.progress("seconds", i + 1, windows);
    }
    return ms;
}

double memory_of_backends(const many_routers& started)
{
    double mib = 0;
    for (const pid_t backend : started.backends)
        mib += pss_in_kib(backend) / 1024;
    return mib;
}
} // namespace

measurements measure_routers(const bench_plan& plan)
{
    allow_many_descriptors();
    many_routers started = start_routers(plan, plan.quick ? QUICK_ROUTERS : ROUTERS);
    serve_for(started.programs, WINDOW_MS);
    const double backends_at_rest = memory_of_backends(started);
    fill_traces(started);
    serve_for(started.programs, SETTLING_MS);
    const paired_samples mib = {.ours = {pss_in_kib(*started.server) / 1024},
                                .floor = {backends_at_rest}};
    measurements found;
    found.figures = {
        make_figure("routers", "CPU beside the backends'", "ms/s", measure_cpu(plan, started)),
        make_figure("routers", "PSS beside the backends'", "MiB", mib)};
    for (figure& each : found.figures)
        each.aim = AIM;
    return found;
}

} // namespace bench
