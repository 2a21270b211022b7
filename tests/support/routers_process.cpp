#include "support/routers_process.h"

#include <chrono>
#include <cstdio>
#include <utility>

#include "server/desk/setup.h"
#include "server/desk/words.h"
#include "support/patience.h"

using std::chrono::steady_clock;

namespace {
constexpr int LOOK_AGAIN_MS = 20;
constexpr int PLAYED_PORT = 4711;
const std::string NO_SUCH_DESTINATION = "No destination \"nothing\".";

const desk::actor ANNA{"anna", "test", {desk::right::administer, {}, {}}};

std::string take_text(const desk::route& wished)
{
    char text[32];
    std::snprintf(text, sizeof text, R"(TI "%X" "%X")",
                  static_cast<unsigned>(wished.destination + 1),
                  static_cast<unsigned>(wished.source + 1));
    return text;
}
} // namespace

RoutersProcess::RoutersProcess()
{
    routers.program = backend_program();
    routers.folder = directory.path;
}

void RoutersProcess::TearDown()
{
    if (HasFailure())
        for (const auto& [id, backend] : routers.backends) {
            std::printf("%s is %s (%s). Its backend:\n", id.c_str(),
                        desk::text_of(desk.live.at(id).link), desk.live.at(id).link_reason.c_str());
            for (const routers::log_line& line : backend.log)
                std::printf("  %s\n", line.text.c_str());
        }
    stop_routers(routers, now());
    EXPECT_TRUE(until([this] { return !any_running(routers); }));
}

desk::moment RoutersProcess::now()
{
    return {std::chrono::duration_cast<desk::monotonic>(steady_clock::now().time_since_epoch()),
            std::chrono::duration_cast<desk::wall>(
                std::chrono::system_clock::now().time_since_epoch())};
}

desk::router_settings RoutersProcess::settings_of(const std::string& id, int port) const
{
    desk::router_settings settings;
    settings.id = id;
    settings.name = id;
    settings.address = "127.0.0.1";
    settings.port = port;
    settings.confirmation_limit = confirmation_limit;
    return settings;
}

void RoutersProcess::add_router(const std::string& id)
{
    std::uint16_t port = 0;
    std::string error;
    ASSERT_TRUE(common::start_simulated_router(
        simulators[id].simulator, built_program("router_simulator"), {"--trace"}, port, error))
        << error;
    ASSERT_EQ(set_router(desk, now(), ANNA, settings_of(id, port)).why, desk::reason::none);
}

void RoutersProcess::add_played_router(const std::string& id)
{
    ASSERT_EQ(set_router(desk, now(), ANNA, settings_of(id, PLAYED_PORT)).why, desk::reason::none);
}

void RoutersProcess::say(const std::string& router, const std::string& line)
{
    write_all(simulators.at(router).simulator.input.number, line + "\n");
}

void RoutersProcess::serve_once(int time_out_ms)
{
    std::vector<pollfd> descriptors;
    add_poll_descriptors(routers, descriptors);
    for (auto& [id, each] : simulators)
        add_poll_descriptor(each.simulator, descriptors);
    poll(descriptors.data(), descriptors.size(), time_out_ms);
    for (auto& [id, each] : simulators) {
        serve_line_program(each.simulator);
        for (const std::string& line : std::exchange(each.simulator.lines, {})) {
            const std::size_t take = line.find("> TI ");
            if (take != std::string::npos) each.takes.insert(line.substr(take + 2));
            if (line == NO_SUCH_DESTINATION) ++each.caught_up;
        }
    }
    serve_routers(routers, desk, now(), descriptors);
    desk.changes.clear();
    for (const desk::entry& entry : std::exchange(desk.entries, {}))
        if (const auto* end = std::get_if<desk::wish_ended>(&entry.what))
            ends[end->id].push_back(*end);
}

bool RoutersProcess::until(const std::function<bool()>& done)
{
    const auto deadline = steady_clock::now() + PATIENCE;
    while (!done()) {
        if (steady_clock::now() > deadline) return false;
        serve_once(LOOK_AGAIN_MS);
    }
    return true;
}

bool RoutersProcess::is_ready(const std::string& router) const
{
    return desk.live.at(router).link == desk::link_state::ready;
}

bool RoutersProcess::catch_up(const std::string& router)
{
    const int before = simulators.at(router).caught_up;
    say(router, "lock nothing");
    return until([&] { return simulators.at(router).caught_up > before; });
}

desk::take_answer RoutersProcess::take(const std::string& router, int destination, int source)
{
    desk::take_request request;
    request.rows.push_back({{router, destination, source}, {}});
    desk::take_answer answer = desk::take(desk, now(), ANNA, request);
    serve_routers(routers, desk, now());
    return answer;
}

const desk::wish& RoutersProcess::wish_of(const desk::ulid& batch) const
{
    return desk.house.batches.at(batch).rows.at(0);
}

bool RoutersProcess::has_ended(const desk::ulid& batch) const
{
    return wish_of(batch).end != desk::outcome::open;
}

bool RoutersProcess::was_seen(const desk::route& wished)
{
    return simulators.at(wished.router).takes.contains(take_text(wished));
}

std::string RoutersProcess::problem_of(const desk::ulid& batch)
{
    const desk::wish& wish = wish_of(batch);
    const std::string what = take_text(wish.wished) + " of " + wish.wished.router + ", " +
                             desk::text_of(wish.end) + " (" + wish.detail + "): ";
    if (ends[{batch, 0}].size() != 1)
        return what + std::to_string(ends[{batch, 0}].size()) + " ends";
    const bool seen = was_seen(wish.wished);
    if (wish.end == desk::outcome::not_sent && seen) return what + "it was made";
    if (wish.end == desk::outcome::confirmed && !seen) return what + "it was never made";
    if (wish.end == desk::outcome::contradicted && seen) return what + "nobody else has taken";
    return wish.end == desk::outcome::refused ? what + "nobody refuses" : "";
}
