#include "bench/workloads/workload.h"
#include "common/numbers.h"
#include "support/frames.h"

namespace bench {

namespace {
constexpr double AIM = 1.3;
constexpr double REST_MS = 600;
constexpr std::size_t REST_ROUNDS = 5;
constexpr std::size_t PORTS = 64;

// The traffic of a busy day in so many parts, with memory measured after each.
constexpr std::size_t PARTS = 16;
constexpr std::size_t QUICK_PARTS = 4;
constexpr std::size_t COMMANDS_IN_PART = 1000;
constexpr std::uint32_t FOREIGN_SALVOS_IN_PART = 4;

void answer_commands(measured_program& program)
{
    for (std::size_t i = 0; i < COMMANDS_IN_PART; ++i) {
        say(program, "*COMMAND=report\n*TYPE=command\n*ID=day\nwhat=inputs\n\n");
        serve_until({&program}, [&] { return hears(program, "*ID=day\n\n"); });
    }
}

// Another operator's salvos to all destinations.
void show_foreign_takes(measured_program& program)
{
    std::string frames;
    for (std::uint32_t source = 1; source <= FOREIGN_SALVOS_IN_PART; ++source)
        for (std::uint32_t i = 1; i <= PORTS; ++i)
            frames += frame(body("IQ", {upper_hex(i), "0", "0", "N", upper_hex(source)}));
    show_routes(program, frames, [&] { return hears(program, ".input.all="); });
}

// The names of both kinds have changed.
void refresh_names(measured_program& program)
{
    program.router.requests.clear();
    program.router.answers["BK F"] = frame(body("KB", {"F", "14"}));
    program.router.answers["BK f 14"] = frame(body("ER", {"00", "BK"}));
    serve_until({&program}, [&] { return count_requests(program.router, "QN ID") > 0; });
    program.router.answers["BK F"] = frame(body("KB", {"F", "0"}));
    await_discovery(program);
}

void live_through_part(measured_program& program, std::size_t part)
{
    answer_commands(program);
    send_salvo(program, PORTS, static_cast<int>(part));
    show_foreign_takes(program);
    refresh_names(program);
    if (part % 8 == 2) {
        reset_client(program.router);
        await_discovery(program);
    }
    program.heard.clear();
}

// At rest, after it has learnt what there is.
double our_rest(const bench_plan& plan)
{
    const running_program ours = start_backend_on(plan.programs, router_answers(PORTS, PORTS));
    await_discovery(*ours);
    serve_for({ours.get()}, REST_MS);
    return pss_in_kib(*ours);
}

double floor_rest(const bench_plan& plan, const char* name)
{
    measured_program floor;
    start_program(floor, {plan.programs.floor_folder + "/" + name});
    serve_until({&floor}, [&] { return !floor.heard.empty(); });
    return pss_in_kib(floor);
}

std::vector<figure> measure_rest(const bench_plan& plan)
{
    paired_samples pss;
    paired_samples beside_usual;
    const std::size_t rounds = plan.quick ? 1 : REST_ROUNDS;
    plan.progress("at rest", 0, rounds);
    for (std::size_t i = 0; i < rounds; ++i) {
        pss.ours.push_back(our_rest(plan));
        pss.floor.push_back(floor_rest(plan, "floor_empty"));
        beside_usual.floor.push_back(floor_rest(plan, "floor_empty_shared"));
        plan.progress("at rest", i + 1, rounds);
    }
    beside_usual.ours = pss.ours;
    return {make_figure("memory", "PSS at rest", "KiB", pss),
            make_figure("memory", "beside a usual program", "KiB", beside_usual)};
}
} // namespace

measurements measure_memory(const bench_plan& plan)
{
    measurements found;
    const std::size_t parts = plan.quick ? QUICK_PARTS : PARTS;
    found.figures = measure_rest(plan);
    const running_program ours = start_backend_on(plan.programs, router_answers(PORTS, PORTS));
    await_discovery(*ours);
    std::vector<double> pss;
    plan.progress("a day", 0, parts);
    for (std::size_t part = 0; part < parts; ++part) {
        live_through_part(*ours, part);
        pss.push_back(pss_in_kib(*ours));
        plan.progress("a day", part + 1, parts);
    }
    const paired_samples after = {.ours = {pss.back()}, .floor = {floor_rest(plan, "floor_empty")}};
    found.figures.push_back(make_figure("memory", "PSS after a day", "KiB", after));
    found.figures.front().aim = AIM;
    found.figures.back().aim = AIM;
    found.figures.push_back(make_figure("memory", "growth in the second half of it", "KiB",
                                        {.ours = {pss.back() - pss[parts / 2]}, .floor = {}}));
    return found;
}

} // namespace bench
