#include "bench/pieces/pieces.h"
#include "control/reports.h"
#include "router_model/state.h"

namespace bench {

namespace {
// Each change costs one line of diagnostics, the report one write, both to the null device.
void ReportRouteChanges(benchmark::State& state)
{
    const silent_peers peers;
    const auto changes = static_cast<std::int32_t>(state.range(0));
    number_of_outputs = static_cast<std::uint64_t>(changes);
    measure(state, [&] {
        for (std::int32_t i = 0; i < changes; ++i)
            accept_route_change(i, i);
        send_routing_report();
    });
}
BENCHMARK(ReportRouteChanges)->ArgName("changes")->Arg(256);
} // namespace

} // namespace bench
