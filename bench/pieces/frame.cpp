#include "bench/pieces/pieces.h"
#include "common/check.h"
#include "common/loop_flags.h"
#include "frame/main_loop.h"
#include "router_link/status_request.h"

namespace bench {

namespace {
// Connected, discovered, nothing due, nothing to read: the state of the loop between two cycles of
// the polling. As many passes on any machine, so that an allocation every now and then shows too.
void IdleMainLoopPass(benchmark::State& state)
{
    const silent_peers peers;
    io_counts_changed = false;
    info_report_pending = false;
    next_status_request = UNREADABLE_CLOCK_US;
    if (measure(state, [] { CHECK(main_loop_pass()); }) != 0) idle_pass_allocates = true;
}
BENCHMARK(IdleMainLoopPass)->Iterations(100'000);
} // namespace

} // namespace bench
