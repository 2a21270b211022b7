#include "bench/scenarios/scenario.h"

#include "common/numbers.h"
#include "support/frames.h"

constexpr double AIM = 1.3;
constexpr double REST_MS = 600;
constexpr std::size_t REST_ROUNDS = 5;
constexpr std::size_t PORTS = 64;

// The traffic of a busy day in so many parts, with memory measured after each.
constexpr std::size_t PARTS = 16;
constexpr std::size_t QUICK_PARTS = 4;
constexpr std::size_t COMMANDS_IN_PART = 1000;
constexpr std::uint32_t FOREIGN_SALVOS_IN_PART = 4;

static void answer_commands(rig& rig)
{
    for (std::size_t i = 0; i < COMMANDS_IN_PART; ++i) {
        say(rig, "*COMMAND=report\n*TYPE=command\n*ID=day\nwhat=inputs\n\n");
        serve_until({&rig}, [&] { return hears(rig, "*ID=day\n\n"); });
    }
}

// Another operator's salvos to all destinations.
static void show_foreign_takes(rig& rig)
{
    std::string frames;
    for (std::uint32_t source = 1; source <= FOREIGN_SALVOS_IN_PART; ++source)
        for (std::uint32_t i = 1; i <= PORTS; ++i)
            frames += frame(body("IQ", {upper_hex(i), "0", "0", "N", upper_hex(source)}));
    show_routes(rig, frames, [&] { return hears(rig, ".input.all="); });
}

// The names of both kinds have changed.
static void refresh_names(rig& rig)
{
    rig.router.requests.clear();
    rig.router.answers["BK F"] = frame(body("KB", {"F", "14"}));
    rig.router.answers["BK f 14"] = frame(body("ER", {"00", "BK"}));
    serve_until({&rig}, [&] { return count_requests(rig.router, "QN ID") > 0; });
    rig.router.answers["BK F"] = frame(body("KB", {"F", "0"}));
    await_discovery(rig);
}

static void lose_connection(rig& rig)
{
    reset_client(rig.router);
    await_discovery(rig);
}

static void live_through_part(rig& rig, std::size_t part)
{
    answer_commands(rig);
    take_salvo(rig, PORTS, static_cast<int>(part));
    show_foreign_takes(rig);
    refresh_names(rig);
    if (part % 8 == 2) lose_connection(rig);
    rig.heard.clear();
}

// Programs of their own each time, at rest after they have learnt what there is.
static paired_samples measure_rest(const bench_plan& plan)
{
    paired_samples pss;
    const std::size_t rounds = plan.quick ? 1 : REST_ROUNDS;
    plan.progress("at rest", 0, rounds);
    for (std::size_t i = 0; i < rounds; ++i) {
        const running_rig ours = start_backend_on(plan.programs, router_answers(PORTS, PORTS));
        rig floor;
        start_program(floor, {plan.programs.floor_folder + "/floor_empty"});
        await_discovery(*ours);
        serve_for({ours.get(), &floor}, REST_MS);
        pss.ours.push_back(pss_in_kib(*ours));
        pss.floor.push_back(pss_in_kib(floor));
        plan.progress("at rest", i + 1, rounds);
    }
    return pss;
}

findings measure_memory(const bench_plan& plan)
{
    findings found;
    const std::size_t parts = plan.quick ? QUICK_PARTS : PARTS;
    found.figures.push_back(make_figure("memory", "PSS at rest", "KiB", measure_rest(plan)));
    const running_rig ours = start_backend_on(plan.programs, router_answers(PORTS, PORTS));
    rig floor;
    start_program(floor, {plan.programs.floor_folder + "/floor_empty"});
    await_discovery(*ours);
    std::vector<double> pss;
    plan.progress("a day", 0, parts);
    for (std::size_t part = 0; part < parts; ++part) {
        live_through_part(*ours, part);
        pss.push_back(pss_in_kib(*ours));
        plan.progress("a day", part + 1, parts);
    }
    found.figures.push_back(make_figure("memory", "PSS after a day", "KiB",
                                        {.ours = {pss.back()}, .floor = {pss_in_kib(floor)}}));
    for (figure& each : found.figures)
        each.aim = AIM;
    found.figures.push_back(make_figure("memory", "growth in the second half of it", "KiB",
                                        {.ours = {pss.back() - pss[parts / 2]}, .floor = {}}));
    return found;
}
