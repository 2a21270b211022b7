#include "bench/pieces/pieces.h"
#include "router_model/names.h"

namespace bench {

namespace {
void UpdateSourceNames(benchmark::State& state)
{
    const silent_peers peers;
    const auto answers = name_answers("S", static_cast<unsigned>(state.range(0)));
    measure(state, [&] { update_sources_info(answers); });
}
BENCHMARK(UpdateSourceNames)->ArgName("names")->Arg(256)->Arg(1024);

void UpdateDestinationNames(benchmark::State& state)
{
    const silent_peers peers;
    const auto answers = name_answers("D", static_cast<unsigned>(state.range(0)));
    measure(state, [&] { update_dest_info(answers); });
}
BENCHMARK(UpdateDestinationNames)->ArgName("names")->Arg(256)->Arg(1024);
} // namespace

} // namespace bench
