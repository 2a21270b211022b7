#include <csignal>
#include <stdexcept>

#include "bench/server/served_desk.h"
#include "bench/server/stamp.h"
#include "bench/workloads/workload.h"
#include "server/desk/start.h"

namespace bench {

namespace {
constexpr double DURATION_MS = 10'000;
constexpr double QUICK_DURATION_MS = 300;
constexpr double LONGEST_SILENCE_MS = 500; // all that was said has been told by then
constexpr std::chrono::milliseconds LONGEST_WAIT{10};
constexpr double LATEST_LIMIT_MS = 50;

void serve_for(served_desk& served, report_tally& tally, double milliseconds)
{
    const double end = now_in_us() + milliseconds * 1000;
    while (now_in_us() < end) {
        serve_once(served, -1, LONGEST_WAIT);
        note_reports(tally, served.desk.live.begin()->second.facts,
                     static_cast<std::uint64_t>(now_in_us()));
        served.desk.entries.clear();
        served.desk.changes.clear();
    }
}

figure limited(const char* measure, const char* unit, double value, double limit)
{
    figure made = make_figure("trace", measure, unit, {.ours = {value}, .floor = {}});
    made.limit = limit;
    return made;
}
} // namespace

measurements measure_trace(const bench_plan& plan)
{
    const temporary_directory folder;
    served_desk served{.desk = desk::make_desk(1), .routers = {}};
    served.routers.program = plan.programs.talker;
    served.routers.folder = folder.path;
    add_router(served, "r0", 1);
    report_tally tally;
    plan.progress("trace", 0, 1);
    const double start = now_in_us();
    serve_for(served, tally, plan.quick ? QUICK_DURATION_MS : DURATION_MS);
    const routers::backend& talker = served.routers.backends.begin()->second;
    parent_link::send_signal(talker.process, SIGUSR1);
    serve_for(served, tally, LONGEST_SILENCE_MS);
    const stamp& last = tally.newest;
    const double seconds = (static_cast<double>(last.written_us) - start) / 1e6;
    const auto lost = static_cast<double>(last.frames) -
                      static_cast<double>(talker.trace.sent + talker.trace.received);
    end_backends(served);
    if (last.number == 0) throw std::runtime_error("The desk is told of no report.");
    plan.progress("trace", 1, 1);
    return {.figures = {make_figure("trace", "frames", "frames/s",
                                    {.ours = {last.frames / seconds}, .floor = {}}),
                        limited("frames lost", "", lost, 0),
                        limited("reports lost", "", last.number - tally.told, 0),
                        limited("latest report", "ms", tally.latest_us / 1000, LATEST_LIMIT_MS)},
            .tables = {}};
}

} // namespace bench
