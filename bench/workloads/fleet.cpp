#include <algorithm>
#include <array>

#include "bench/figure_text.h"
#include "bench/workloads/workload.h"
#include "tools/common/random.h"

namespace bench {

namespace {
constexpr std::array<std::size_t, 5> SIZES = {1, 10, 50, 100, 200};
constexpr std::array<std::size_t, 3> QUICK_SIZES = {1, 2, 4};
constexpr std::size_t WINDOWS = 8; // of a second each, first without takes, then with them
constexpr std::size_t QUICK_WINDOWS = 2;
constexpr double WINDOW_US = 1'000'000;
constexpr double TAKES_PER_SECOND = 25;      // of all together, at most
constexpr double TAKE_INTERVAL_US = 250'000; // of one, at least: none waits for the one before
constexpr double POLL_INTERVAL_US = 350'000;
constexpr double CPU_AIM = 1.25;
constexpr double PSS_AIM = 1.1;
constexpr double CORES = 2;

// One backend and what it is doing.
struct fleet_member {
    running_program program;
    double cycle_end = 0;     // the last polling cycle's, 0 before the first
    double take_interval = 0; // 0: no takes
    double next_take = 0;
    bool adding = false;    // the change has been said, the reply has not come
    double flush_start = 0; // 0: no take is under way
};

struct fleet {
    std::vector<fleet_member> members;
    std::vector<measured_program*> programs;
    std::vector<double> take_us{};
    double largest_poll_delay_us = 0;
};

struct fleet_cost {
    std::vector<double> cpu_ms{}; // of each window, all together, for one second
    double pss_kib = 0;
    double take_p99_us = 0;
    double largest_poll_delay_us = 0;
};

fleet start_fleet(const bench_plan& plan, std::size_t size)
{
    const auto answers = router_answers(64, 64);
    fleet started;
    for (std::size_t i = 0; i < size; ++i) {
        started.members.push_back({.program = start_backend_on(plan.programs, answers)});
        started.programs.push_back(started.members.back().program.get());
        serve_for(started.programs, 1); // nobody waits for long for its router
    }
    for (measured_program* const each : started.programs)
        serve_until(started.programs, [&] { return hears(*each, "\no0.name="); });
    return started;
}

// Polls that have come and takes that have arrived.
void note_requests(fleet& backends, fleet_member& member, double now)
{
    for (const std::string& request : member.program->router.requests) {
        if (request == "QD") member.cycle_end = now;
        if (request == "BK F" && member.cycle_end > 0)
            backends.largest_poll_delay_us =
                std::max(backends.largest_poll_delay_us, now - member.cycle_end - POLL_INTERVAL_US);
        if (request.starts_with("TI ") && member.flush_start > 0) {
            backends.take_us.push_back(now - member.flush_start);
            member.flush_start = 0;
        }
    }
    member.program->router.requests.clear();
}

void go_on_with_take(fleet_member& member, double now)
{
    if (member.adding && hears(*member.program, "*TYPE=reply\n\n")) {
        member.adding = false;
        member.flush_start = now_in_us();
        say(*member.program, FLUSH_RECORD);
    } else if (!member.adding && member.flush_start == 0 && now >= member.next_take) {
        member.program->heard.clear();
        member.adding = true;
        member.next_take += member.take_interval;
        say(*member.program, add_record(0, 1));
    }
}

double cpu_of(const fleet& backends)
{
    double sum = 0;
    for (const measured_program* const each : backends.programs)
        sum += cpu_in_us(*each);
    return sum;
}

// Polls go on. Calls each_window with its length after every second.
void serve_fleet(fleet& backends, std::size_t windows,
                 const std::function<void(double us)>& each_window)
{
    double window_start = now_in_us();
    std::size_t over = 0;
    serve_until(backends.programs, [&] {
        const double now = now_in_us();
        for (fleet_member& member : backends.members) {
            note_requests(backends, member, now);
            if (member.take_interval > 0) go_on_with_take(member, now);
        }
        if (now - window_start < WINDOW_US) return false;
        each_window(now - window_start);
        window_start = now;
        return ++over == windows;
    });
}

// CPU in milliseconds of each second, all together, while nothing but polling goes on.
std::vector<double> measure_polling(fleet& backends, std::size_t windows)
{
    std::vector<double> cpu_ms;
    double cpu_before = cpu_of(backends);
    serve_fleet(backends, windows, [&](double window_us) {
        const double cpu = cpu_of(backends);
        cpu_ms.push_back((cpu - cpu_before) / window_us * 1000);
        cpu_before = cpu;
    });
    return cpu_ms;
}

// Takes at any moment of the polling, each in microseconds; one that is under way at the end
// counts as long as it has lasted.
std::vector<double> measure_takes(fleet& backends, std::size_t windows)
{
    const auto size = static_cast<double>(backends.members.size());
    const double interval = std::max(TAKE_INTERVAL_US, size / TAKES_PER_SECOND * 1e6);
    std::mt19937_64 random(backends.members.size());
    for (fleet_member& member : backends.members) {
        member.take_interval = interval;
        member.next_take = now_in_us() + common::draw_fraction(random) * interval;
    }
    serve_fleet(backends, windows, [](double) {});
    for (const fleet_member& member : backends.members)
        if (member.flush_start > 0) backends.take_us.push_back(now_in_us() - member.flush_start);
    return backends.take_us;
}

fleet_cost measure_size(const bench_plan& plan, std::size_t size)
{
    fleet backends = start_fleet(plan, size);
    const std::size_t windows = plan.quick ? QUICK_WINDOWS : WINDOWS;
    fleet_cost cost;
    cost.cpu_ms = measure_polling(backends, windows);
    for (const measured_program* const each : backends.programs)
        cost.pss_kib += pss_in_kib(*each);
    const std::vector<double> takes = measure_takes(backends, windows);
    cost.take_p99_us = takes.empty() ? 0 : quantile_of(takes, 0.99);
    cost.largest_poll_delay_us = backends.largest_poll_delay_us;
    return cost;
}

std::vector<std::string> row_of(std::size_t size, const fleet_cost& cost)
{
    const double cpu_ms = quantile_of(cost.cpu_ms, 0.5);
    return {std::to_string(size),
            number_text(cpu_ms),
            number_text(cpu_ms / static_cast<double>(size)),
            number_text(cost.pss_kib / 1024),
            number_text(cost.take_p99_us / 1000),
            number_text(cost.largest_poll_delay_us / 1000),
            number_text(CORES * 1000 / (cpu_ms / static_cast<double>(size)))};
}

std::vector<double> divided(std::vector<double> values, std::size_t size)
{
    for (double& value : values)
        value /= static_cast<double>(size);
    return values;
}

// The growth from the smaller fleet to the larger, for each backend: 1 when it is linear.
std::vector<figure> growth_figures(std::size_t few, const fleet_cost& cost_of_few, std::size_t many,
                                   const fleet_cost& cost_of_many)
{
    const std::string measure =
        " per backend, " + std::to_string(many) + " against " + std::to_string(few);
    figure cpu = make_figure(
        "fleet", "CPU" + measure, "ms/s",
        {.ours = divided(cost_of_many.cpu_ms, many), .floor = divided(cost_of_few.cpu_ms, few)});
    cpu.aim = CPU_AIM;
    figure pss = make_figure("fleet", "PSS" + measure, "KiB",
                             {.ours = divided({cost_of_many.pss_kib}, many),
                              .floor = divided({cost_of_few.pss_kib}, few)});
    pss.aim = PSS_AIM;
    return {cpu, pss};
}
} // namespace

measurements measure_fleet(const bench_plan& plan)
{
    allow_many_descriptors();
    const std::vector<std::size_t> sizes =
        plan.quick ? std::vector<std::size_t>(QUICK_SIZES.begin(), QUICK_SIZES.end())
                   : std::vector<std::size_t>(SIZES.begin(), SIZES.end());
    measurements found;
    found.tables = {{.title = "Backends on one machine, each with a 64×64 router",
                     .columns = {{"backends", true},
                                 {"CPU ms/s", true},
                                 {"each", true},
                                 {"PSS MiB", true},
                                 {"take p99 ms", true},
                                 {"largest delay of a poll ms", true},
                                 {"2 cores would carry", true}},
                     .rows = {}}};
    std::vector<fleet_cost> costs;
    plan.progress("fleets", 0, sizes.size());
    for (const std::size_t size : sizes) {
        costs.push_back(measure_size(plan, size));
        found.tables[0].rows.push_back(row_of(size, costs.back()));
        plan.progress("fleets", costs.size(), sizes.size());
    }
    found.figures = growth_figures(sizes[1], costs[1], sizes.back(), costs.back());
    return found;
}

} // namespace bench
