#include "bench/workloads/control_takes.h"

#include <stdexcept>

#include "bench/workloads/control_server.h"
#include "bench/workloads/taker.h"

namespace bench {

namespace {
constexpr std::size_t TAKES = 300;
constexpr std::size_t QUICK_TAKES = 3;
constexpr double AIM = 1.5;

struct asking_sides {
    taker desk;
    taker control; // its program is a router alone
    std::unique_ptr<control_server> server;
    web_client client{};
    std::vector<measured_program*> programs{};
};

void serve_sides_until(asking_sides& sides, const std::function<bool()>& done)
{
    serve_until(sides.programs, [&] {
        watch_cycle(sides.desk);
        watch_cycle(sides.control);
        return done();
    });
}

asking_sides start_sides(const bench_plan& plan)
{
    asking_sides sides{.desk = {.program = start_server_on(plan.programs, taker_answers())},
                       .control = {.program = start_router(taker_answers())},
                       .server = start_control(plan.programs)};
    sides.programs = {sides.desk.program.get(), sides.control.program.get()};
    sides.client = connect_to_control(*sides.server);
    add_router(sides.client, *sides.server, 0, sides.control.program->router.port);
    serve_until(sides.programs, [&] { return hears(*sides.desk.program, "ready"); });
    serve_sides_until(sides, [&] {
        return answer_of(sides.client, *sides.server, "GET", "/routers/r0")
                   .find(R"("state":"ready")") != std::string::npos;
    });
    serve_for(sides.programs, CYCLE_MS);
    return sides;
}

double arrival(asking_sides& sides, taker& taker, double asked)
{
    serve_until(sides.programs, [&] { return count_takes(*taker.program) > 0; });
    taker.last_take = now_in_us();
    return taker.last_take - asked;
}

double take_by_desk(asking_sides& sides)
{
    serve_sides_until(sides, [&] { return is_quiet(sides.desk); });
    prepare_take(sides.desk);
    const double asked = now_in_us();
    say(*sides.desk.program, "take 1 " + std::to_string(sides.desk.source) + "\n");
    return arrival(sides, sides.desk, asked);
}

double take_by_request(asking_sides& sides)
{
    serve_sides_until(sides, [&] { return is_quiet(sides.control); });
    prepare_take(sides.control);
    ask(sides.client, *sides.server, "PUT", "/routers/r0/destinations/1/route?wait=2000",
        "{\"source\":" + std::to_string(sides.control.source) + "}");
    const double us = arrival(sides, sides.control, sides.client.asked);
    std::optional<web_answer> answer;
    serve_until(sides.programs, [&] {
        answer = read_answer(sides.client);
        return answer.has_value();
    });
    if (answer->status != 200) throw std::runtime_error("A take was answered: " + answer->body);
    return us;
}
} // namespace

std::vector<figure> measure_control_takes(const bench_plan& plan)
{
    asking_sides sides = start_sides(plan);
    paired_samples us;
    const std::size_t takes = plan.quick ? QUICK_TAKES : TAKES;
    plan.progress("takes", 0, takes);
    for (std::size_t i = 0; i < takes; ++i) {
        us.ours.push_back(take_by_request(sides));
        us.floor.push_back(take_by_desk(sides));
        plan.progress("takes", i + 1, takes);
    }
    std::vector<figure> figures = {make_figure("control", "until the take, p50", "us", us, 0.5),
                                   make_figure("control", "until the take, p99", "us", us, 0.99)};
    for (figure& each : figures)
        each.aim = AIM;
    return figures;
}

} // namespace bench
