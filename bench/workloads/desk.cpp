#include <malloc.h>

#include "bench/server/served_desk.h"
#include "bench/workloads/workload.h"
#include "server/desk/reports.h"
#include "server/desk/start.h"

namespace bench {

namespace {
constexpr std::size_t ROUTERS = 200;
constexpr std::size_t QUICK_ROUTERS = 2;
constexpr int PORTS = 256;
constexpr std::size_t ROUNDS = 20;
constexpr std::size_t QUICK_ROUNDS = 2;

using routes = std::vector<std::pair<int, int>>;

// All destinations.
routes routes_to(int source)
{
    routes made;
    for (int i = 0; i < PORTS; ++i)
        made.emplace_back(i, source);
    return made;
}

std::vector<std::string> names(const std::string& kind)
{
    std::vector<std::string> made;
    for (int i = 1; i <= PORTS; ++i)
        made.push_back(kind + std::to_string(i));
    return made;
}

double heap_in_mib()
{
    const struct mallinfo2 heap = mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd) / 1024 / 1024;
}

void forget_told(desk::desk_state& desk)
{
    desk.entries.clear();
    desk.changes.clear();
}

served_desk known_routers(std::size_t count)
{
    served_desk served{.desk = desk::make_desk(1), .routers = {}};
    for (std::size_t i = 0; i < count; ++i) {
        const std::string id = "r" + std::to_string(i);
        add_router(served, id, 1);
        desk::report_link(served.desk, this_moment(), id, desk::link_state::ready, "");
        desk::report_counts(served.desk, id, PORTS, PORTS);
        desk::report_names(served.desk, id, desk::side::sources, names("SOURCE "));
        desk::report_names(served.desk, id, desk::side::destinations, names("DESTINATION "));
        desk::report_routes(served.desk, this_moment(), id, routes_to(0));
        forget_told(served.desk);
    }
    return served;
}

// For one route of each router's report, in microseconds.
void report_all(desk::desk_state& desk, int source, std::vector<double>& us)
{
    const routes shown = routes_to(source);
    for (const auto& [router, live] : desk.live) {
        const double start = now_in_us();
        desk::report_routes(desk, this_moment(), router, shown);
        forget_told(desk);
        us.push_back((now_in_us() - start) / PORTS);
    }
}
} // namespace

measurements measure_desk(const bench_plan& plan)
{
    const double before = heap_in_mib();
    served_desk served = known_routers(plan.quick ? QUICK_ROUTERS : ROUTERS);
    const double memory = heap_in_mib() - before;
    std::vector<double> repeated;
    std::vector<double> changed;
    const std::size_t rounds = plan.quick ? QUICK_ROUNDS : ROUNDS;
    plan.progress("rounds", 0, rounds);
    for (std::size_t i = 0; i < rounds; ++i) {
        const int source = static_cast<int>(i % 2) + 1;
        report_all(served.desk, source, changed);
        report_all(served.desk, source, repeated);
        plan.progress("rounds", i + 1, rounds);
    }
    return {
        .figures = {make_figure("desk", "memory", "MiB", {.ours = {memory}, .floor = {}}),
                    make_figure("desk", "a route repeated", "us", {.ours = repeated, .floor = {}}),
                    make_figure("desk", "a route changed", "us", {.ours = changed, .floor = {}})},
        .tables = {}};
}

} // namespace bench
