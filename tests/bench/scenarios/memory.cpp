#include "bench/scenarios/scenario.h"

#include "common/numbers.h"
#include "support/frames.h"

constexpr double AIM = 1.3;
constexpr double REST_MS = 1500;
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

// One salvo to all destinations.
static void take_everywhere(rig& rig)
{
    for (int output = 0; output < static_cast<int>(PORTS); ++output)
        say(rig, add_record(output, output));
    say(rig, FLUSH_RECORD);
    rig.router.requests.clear();
    const std::string last_query = "QI " + upper_hex(PORTS) + " 0";
    serve_until({&rig}, [&] { return count_requests(rig.router, last_query) > 0; });
}

// Another operator's salvos to all destinations, as messages that nobody has asked for.
static void show_foreign_takes(rig& rig)
{
    std::string frames;
    for (std::uint32_t source = 1; source <= FOREIGN_SALVOS_IN_PART; ++source)
        for (std::uint32_t i = 1; i <= PORTS; ++i)
            frames += frame(body("IQ", {upper_hex(i), "0", "0", "N", upper_hex(source)}));
    await_end_of_cycle(rig);
    rig.heard.clear();
    send_bytes(rig.router, frames);
    serve_until({&rig}, [&] { return hears(rig, ".input.all="); });
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
    take_everywhere(rig);
    show_foreign_takes(rig);
    refresh_names(rig);
    if (part % 8 == 4) lose_connection(rig);
    rig.heard.clear();
}

static figure beside_floor(const char* measure, double ours, double floor)
{
    figure made = make_figure("memory", measure, "KiB", {.ours = {ours}, .floor = {floor}});
    made.aim = AIM;
    return made;
}

findings measure_memory(const bench_plan& plan)
{
    const running_rig ours = start_backend_on(plan.programs, router_answers(PORTS, PORTS));
    rig floor;
    start_program(floor, {plan.programs.floor_folder + "/floor_empty"});
    await_discovery(*ours);
    serve_for({ours.get(), &floor}, REST_MS);
    findings found;
    found.figures.push_back(beside_floor("PSS at rest", pss_in_kib(*ours), pss_in_kib(floor)));
    std::vector<double> after_part;
    const std::size_t parts = plan.quick ? QUICK_PARTS : PARTS;
    for (std::size_t part = 0; part < parts; ++part) {
        live_through_part(*ours, part);
        after_part.push_back(pss_in_kib(*ours));
        plan.progress(part + 1, parts);
    }
    found.figures.push_back(beside_floor("PSS after a day", after_part.back(), pss_in_kib(floor)));
    const paired_samples growth = {.ours = {after_part.back() - after_part[parts / 2]},
                                   .floor = {}};
    found.figures.push_back(make_figure("memory", "growth in the second half", "KiB", growth));
    return found;
}
