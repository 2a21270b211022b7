#include "soak/random_parent.h"

namespace soak {

namespace {
constexpr us_time_t SECOND = 1'000'000;
constexpr int LARGEST_FLOOD = 3000;
constexpr us_time_t CALM_US = 12 * SECOND;
constexpr us_time_t QUERY_AT_US = SECOND / 2;  // in a calm phase
constexpr us_time_t TAKE_AT_US = 7 * SECOND;   // when nothing earlier waits for its expiry
constexpr us_time_t QUERY_SETTLES_US = SECOND; // from its reply to the last answer's report
constexpr us_time_t TAKE_MUST_SHOW_US = 4 * SECOND;

void send_command(parent_conduct& conduct, const parent_tools& tools, const parent_command& command,
                  us_time_t now)
{
    const expected_reply reply{command.command, command.error, command.reaches_router, now};
    if (command.replied) expect_reply(tools.replies, std::to_string(conduct.last_id), reply);
    if (command.reaches_router) note_disturbance(tools.routes, now);
    send_bytes(tools.backend, command.bytes);
}

std::string next_id(parent_conduct& conduct)
{
    return std::to_string(++conduct.last_id);
}

void restore_port(parent_conduct& conduct, const parent_tools& tools, us_time_t now)
{
    send_command(conduct, tools, set_setting("port", conduct.port), now);
    conduct.port_returns = 0;
}

void leave_router_for_a_while(parent_conduct& conduct, const parent_tools& tools, us_time_t now)
{
    send_command(conduct, tools, set_setting("port", "1"), now);
    conduct.port_returns = now + SECOND;
}

void send_flood(parent_conduct& conduct, const parent_tools& tools, int commands, us_time_t now)
{
    for (int left = commands; left > 0; --left)
        send_command(conduct, tools, random_flood_command(conduct.random, next_id(conduct)), now);
}

// The second phase, when the router is known, is the worst there is, so that memory has soon met
// what it will ever meet.
void begin_busy_phase(parent_conduct& conduct, const parent_tools& tools, us_time_t now)
{
    std::mt19937_64& random = conduct.random;
    const bool worst = ++conduct.busy_phases == 2;
    const auto length = static_cast<us_time_t>(draw(random, 4, 12)) * SECOND;
    conduct.phase_ends = now + length;
    if (worst || chance(random, 0.2)) {
        tools.backend.reads_output = false;
        conduct.reads_again = now + length / 2;
    }
    if (worst || chance(random, 0.2))
        send_flood(conduct, tools, worst ? LARGEST_FLOOD : draw(random, 100, LARGEST_FLOOD), now);
    if (chance(random, 0.05)) leave_router_for_a_while(conduct, tools, now);
}

void begin_phase(parent_conduct& conduct, const parent_tools& tools, us_time_t now)
{
    conduct.calm = !conduct.calm && conduct.phase_began != 0;
    conduct.phase_began = now;
    conduct.queried = conduct.taken = false;
    if (conduct.calm)
        conduct.phase_ends = now + CALM_US;
    else
        begin_busy_phase(conduct, tools, now);
}

void read_again(const parent_tools& tools, us_time_t now)
{
    if (!tools.backend.reads_output) restart_waits(tools.replies, now);
    tools.backend.reads_output = true;
}
} // namespace

void send_proof_query(parent_conduct& conduct, const parent_tools& tools, us_time_t now)
{
    if (!conduct.query.id.empty()) return;
    const std::string id = next_id(conduct);
    send_command(conduct, tools, query_outputs(id), now);
    conduct.query = {.id = id, .sent = now, .answered = 0};
}

namespace {
void send_proof_take(parent_conduct& conduct, const parent_tools& tools, us_time_t now)
{
    const int outputs = static_cast<int>(tools.routes.destinations.size());
    conduct.take = {.id = "",
                    .output = draw(conduct.random, 0, outputs - 1),
                    .input = draw(conduct.random, 0, outputs - 1),
                    .sent = now,
                    .made = false};
    const proof_take& take = conduct.take;
    send_command(conduct, tools, add_route(next_id(conduct), take.output, take.input), now);
    const std::string id = next_id(conduct);
    send_command(conduct, tools, flush_routes(id), now);
    conduct.take.id = id;
}

void act_calmly(parent_conduct& conduct, const parent_tools& tools, bool link_up, us_time_t now)
{
    const us_time_t elapsed = now - conduct.phase_began;
    if (!conduct.queried && elapsed >= QUERY_AT_US) {
        send_proof_query(conduct, tools, now);
        conduct.queried = true;
    }
    if (conduct.taken || elapsed < TAKE_AT_US) return;
    conduct.taken = true;
    if (link_up && undisturbed_since(tools.routes, now - DISTURBANCE_LASTS_US))
        send_proof_take(conduct, tools, now);
}

void send_random_command(parent_conduct& conduct, const parent_tools& tools, us_time_t now)
{
    const std::string id = next_id(conduct);
    const auto make = conduct.calm ? random_quiet_command : random_command;
    send_command(conduct, tools, make(conduct.random, id), now);
    const int least_ms = conduct.calm ? 200 : 5;
    const int most_ms = conduct.calm ? 800 : 200;
    conduct.next_command =
        now + static_cast<us_time_t>(draw(conduct.random, least_ms, most_ms)) * 1000;
}
} // namespace

void act(parent_conduct& conduct, const parent_tools& tools, bool link_up, us_time_t now)
{
    if (now >= conduct.reads_again) read_again(tools, now);
    if (now >= conduct.phase_ends) begin_phase(conduct, tools, now);
    if (conduct.port_returns != 0 && now >= conduct.port_returns) restore_port(conduct, tools, now);
    if (conduct.calm) act_calmly(conduct, tools, link_up, now);
    if (now >= conduct.next_command) send_random_command(conduct, tools, now);
}

void stop_acting(parent_conduct& conduct, const parent_tools& tools, us_time_t now)
{
    read_again(tools, now);
    restore_port(conduct, tools, now);
}

bool note_proof_reply(parent_conduct& conduct, const std::string& id, us_time_t now)
{
    if (id == conduct.query.id) conduct.query.answered = now;
    return id == conduct.query.id || id == conduct.take.id;
}

void note_take(parent_conduct& conduct, int output, int input)
{
    proof_take& take = conduct.take;
    if (take.output == output && take.input == input) take.made = true;
}

namespace {
void judge_query(parent_conduct& conduct, route_ledger& routes, us_time_t now)
{
    proof_query& query = conduct.query;
    if (query.answered == 0 || now - query.answered < QUERY_SETTLES_US) return;
    if (undisturbed_since(routes, query.sent + 1)) {
        note_query(routes, query.sent);
        ++conduct.proved_queries;
    }
    query = {};
}
} // namespace

std::string judge_proofs(parent_conduct& conduct, route_ledger& routes, us_time_t now)
{
    judge_query(conduct, routes, now);
    proof_take& take = conduct.take;
    if (take.output < 0 || now - take.sent < TAKE_MUST_SHOW_US) return "";
    const proof_take judged = take;
    take = {};
    if (!undisturbed_since(routes, judged.sent + 1)) return "";
    if (judged.made) {
        ++conduct.proved_takes;
        return "";
    }
    return "a take did not reach the router: output " + std::to_string(judged.output) + " input " +
           std::to_string(judged.input);
}

} // namespace soak
