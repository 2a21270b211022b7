#include <sstream>
#include <stdexcept>

#include "bench/workloads/taker.h"
#include "bench/workloads/workload.h"
#include "tools/common/random.h"

namespace bench {

namespace {
constexpr std::size_t QUIET_TAKES = 300;
constexpr std::size_t TAKES_AT_ANY_TIME = 150;
constexpr std::size_t QUICK_TAKES = 3;
constexpr double RATIO_AIM = 1.3;
constexpr double P50_LIMIT_MS = 3;
constexpr double P95_LIMIT_MS = 40;

// From the wish, in microseconds.
struct take_times {
    double arrived = 0;   // the take at the router
    double confirmed = 0; // the parent knows that the router shows it
};

struct taking_sides {
    taker desk;
    taker plain;
    std::vector<measured_program*> programs{};
};

void serve_sides_until(taking_sides& sides, const std::function<bool()>& done)
{
    serve_until(sides.programs, [&] {
        watch_cycle(sides.desk);
        watch_cycle(sides.plain);
        return done();
    });
}

void await_quiet(taking_sides& sides, const taker& side)
{
    serve_sides_until(sides, [&] { return is_quiet(side); });
}

// Waits for a whole line.
std::string next_line(taking_sides& sides, measured_program& program)
{
    std::size_t end = 0;
    serve_until(sides.programs, [&] {
        end = program.heard.find('\n');
        return end != std::string::npos;
    });
    std::string line = program.heard.substr(0, end);
    program.heard.erase(0, end + 1);
    return line;
}

// One that hurries ends the wait for the report, which is not what is measured.
take_times take(taking_sides& sides, taker& side, bool hurries)
{
    measured_program& program = *side.program;
    prepare_take(side);
    say(program, "take 1 " + std::to_string(side.source) + "\n");
    serve_until(sides.programs, [&] { return count_takes(program) > 0; });
    const double arrived = now_in_us();
    if (hurries) {
        serve_for(sides.programs, 2);
        say(program, "hurry\n");
    }
    const std::string end = next_line(sides, program);
    std::istringstream words(end);
    std::string outcome;
    double wished = 0;
    double confirmed = 0;
    if (!(words >> outcome >> wished >> confirmed) || outcome != "confirmed")
        throw std::runtime_error("A take is not confirmed: " + end);
    side.last_take = now_in_us();
    return {arrived - wished, confirmed - wished};
}

taking_sides start_sides(const bench_plan& plan)
{
    const auto answers = taker_answers();
    taking_sides sides{.desk = {.program = start_server_on(plan.programs, answers)},
                       .plain = {.program = start_plain_parent_on(plan.programs, answers)}};
    sides.programs = {sides.desk.program.get(), sides.plain.program.get()};
    for (measured_program* const each : sides.programs)
        serve_until(sides.programs, [&] { return hears(*each, "ready"); });
    serve_for(sides.programs, CYCLE_MS);
    return sides;
}

// While the links are idle, so that both sides do the same.
std::vector<figure> measure_arrival(const bench_plan& plan, taking_sides& sides)
{
    paired_samples us;
    const std::size_t takes = plan.quick ? QUICK_TAKES : QUIET_TAKES;
    plan.progress("until the take", 0, takes);
    for (std::size_t i = 0; i < takes; ++i) {
        await_quiet(sides, sides.desk);
        us.ours.push_back(take(sides, sides.desk, false).arrived);
        await_quiet(sides, sides.plain);
        us.floor.push_back(take(sides, sides.plain, true).arrived);
        plan.progress("until the take", i + 1, takes);
    }
    std::vector<figure> figures = {make_figure("wish", "until the take, p50", "us", us, 0.5),
                                   make_figure("wish", "until the take, p99", "us", us, 0.99)};
    for (figure& each : figures)
        each.aim = RATIO_AIM;
    return figures;
}

// At any moment of the polling.
std::vector<figure> measure_confirmation(const bench_plan& plan, taking_sides& sides)
{
    paired_samples ms;
    std::mt19937_64 random(1);
    const auto await_moment = [&](const taker& side) {
        const double end = now_in_us() + common::draw_fraction(random) * CYCLE_MS * 1000;
        serve_sides_until(sides, [&] { return now_in_us() >= end && may_take(side); });
    };
    const std::size_t takes = plan.quick ? QUICK_TAKES : TAKES_AT_ANY_TIME;
    plan.progress("until confirmed", 0, takes);
    for (std::size_t i = 0; i < takes; ++i) {
        await_moment(sides.desk);
        ms.ours.push_back(take(sides, sides.desk, false).confirmed / 1000);
        await_moment(sides.plain);
        ms.floor.push_back(take(sides, sides.plain, false).confirmed / 1000);
        plan.progress("until confirmed", i + 1, takes);
    }
    std::vector<figure> figures = {make_figure("wish", "until confirmed, p50", "ms", ms, 0.5),
                                   make_figure("wish", "until confirmed, p95", "ms", ms, 0.95)};
    figures[0].limit = P50_LIMIT_MS;
    figures[1].limit = P95_LIMIT_MS;
    return figures;
}
} // namespace

measurements measure_wish(const bench_plan& plan)
{
    taking_sides sides = start_sides(plan);
    measurements found{.figures = measure_arrival(plan, sides), .tables = {}};
    for (const figure& each : measure_confirmation(plan, sides))
        found.figures.push_back(each);
    return found;
}

} // namespace bench
