#include "soak/random_parent.h"

#include "soak/random_commands.h"
#include "tools/common/random.h"

using common::draw;
using common::draw_chance;

namespace soak {

namespace {
constexpr us_time_t SECOND = 1'000'000;
constexpr int LARGEST_FLOOD = 3000;
constexpr us_time_t CALM_US = 12 * SECOND;
constexpr us_time_t QUERY_AT_US = SECOND / 2;  // in a calm phase
constexpr us_time_t TAKE_AT_US = 7 * SECOND;   // when nothing earlier waits for its expiry
constexpr us_time_t QUERY_SETTLES_US = SECOND; // from its reply to the last answer's report
constexpr us_time_t TAKE_MUST_SHOW_US = 4 * SECOND;

void send_command(random_parent& parent, const parent_tools& tools, const parent_command& command,
                  us_time_t now)
{
    const expected_reply reply{command.command, command.error, command.reaches_router, now};
    if (command.replied) expect_reply(tools.replies, std::to_string(parent.last_id), reply);
    if (command.reaches_router) note_disturbance(tools.routes, now);
    send_bytes(tools.backend, command.bytes);
}

std::string next_id(random_parent& parent)
{
    return std::to_string(++parent.last_id);
}

void restore_port(random_parent& parent, const parent_tools& tools, us_time_t now)
{
    send_command(parent, tools, set_setting("port", parent.port), now);
    parent.port_returns = 0;
}

void leave_router_for_a_while(random_parent& parent, const parent_tools& tools, us_time_t now)
{
    send_command(parent, tools, set_setting("port", "1"), now);
    parent.port_returns = now + SECOND;
}

void send_flood(random_parent& parent, const parent_tools& tools, int commands, us_time_t now)
{
    for (int left = commands; left > 0; --left)
        send_command(parent, tools, random_flood_command(parent.random, next_id(parent)), now);
}

// The second phase, when the router is known, is the worst there is, so that memory has soon met
// what it will ever meet.
void begin_busy_phase(random_parent& parent, const parent_tools& tools, us_time_t now)
{
    std::mt19937_64& random = parent.random;
    const bool worst = ++parent.busy_phases == 2;
    const auto length = static_cast<us_time_t>(draw(random, 4, 12)) * SECOND;
    parent.phase_ends = now + length;
    if (worst || draw_chance(random, 0.2)) {
        tools.backend.reads_output = false;
        parent.reads_again = now + length / 2;
    }
    if (worst || draw_chance(random, 0.2))
        send_flood(parent, tools, worst ? LARGEST_FLOOD : draw(random, 100, LARGEST_FLOOD), now);
    if (draw_chance(random, 0.05)) leave_router_for_a_while(parent, tools, now);
}

void begin_phase(random_parent& parent, const parent_tools& tools, us_time_t now)
{
    parent.calm = !parent.calm && parent.phase_began != 0;
    parent.phase_began = now;
    parent.queried = parent.taken = false;
    if (parent.calm)
        parent.phase_ends = now + CALM_US;
    else
        begin_busy_phase(parent, tools, now);
}

void read_again(const parent_tools& tools, us_time_t now)
{
    if (!tools.backend.reads_output) restart_waits(tools.replies, now);
    tools.backend.reads_output = true;
}
} // namespace

void send_proof_query(random_parent& parent, const parent_tools& tools, us_time_t now)
{
    if (!parent.query.id.empty()) return;
    const std::string id = next_id(parent);
    send_command(parent, tools, query_outputs(id), now);
    parent.query = {.id = id, .sent = now, .answered = 0};
}

namespace {
void send_proof_take(random_parent& parent, const parent_tools& tools, us_time_t now)
{
    const int outputs = static_cast<int>(tools.routes.destinations.size());
    parent.take = {.id = "",
                   .output = draw(parent.random, 0, outputs - 1),
                   .input = draw(parent.random, 0, outputs - 1),
                   .sent = now,
                   .made = false};
    const proof_take& take = parent.take;
    send_command(parent, tools, add_route(next_id(parent), take.output, take.input), now);
    const std::string id = next_id(parent);
    send_command(parent, tools, flush_routes(id), now);
    parent.take.id = id;
}

void act_calmly(random_parent& parent, const parent_tools& tools, bool link_up, us_time_t now)
{
    const us_time_t elapsed = now - parent.phase_began;
    if (!parent.queried && elapsed >= QUERY_AT_US) {
        send_proof_query(parent, tools, now);
        parent.queried = true;
    }
    if (parent.taken || elapsed < TAKE_AT_US) return;
    parent.taken = true;
    if (link_up && undisturbed_since(tools.routes, now - DISTURBANCE_LASTS_US))
        send_proof_take(parent, tools, now);
}

void send_random_command(random_parent& parent, const parent_tools& tools, us_time_t now)
{
    const std::string id = next_id(parent);
    const auto make = parent.calm ? random_quiet_command : random_command;
    send_command(parent, tools, make(parent.random, id), now);
    const int least_ms = parent.calm ? 200 : 5;
    const int most_ms = parent.calm ? 800 : 200;
    parent.next_command =
        now + static_cast<us_time_t>(draw(parent.random, least_ms, most_ms)) * 1000;
}
} // namespace

void act(random_parent& parent, const parent_tools& tools, bool link_up, us_time_t now)
{
    if (now >= parent.reads_again) read_again(tools, now);
    if (now >= parent.phase_ends) begin_phase(parent, tools, now);
    if (parent.port_returns != 0 && now >= parent.port_returns) restore_port(parent, tools, now);
    if (parent.calm) act_calmly(parent, tools, link_up, now);
    if (now >= parent.next_command) send_random_command(parent, tools, now);
}

void stop_acting(random_parent& parent, const parent_tools& tools, us_time_t now)
{
    read_again(tools, now);
    restore_port(parent, tools, now);
}

bool note_proof_reply(random_parent& parent, const std::string& id, us_time_t now)
{
    if (id == parent.query.id) parent.query.answered = now;
    return id == parent.query.id || id == parent.take.id;
}

void note_take(random_parent& parent, int output, int input)
{
    proof_take& take = parent.take;
    if (take.output == output && take.input == input) take.made = true;
}

namespace {
void judge_query(random_parent& parent, route_ledger& routes, us_time_t now)
{
    proof_query& query = parent.query;
    if (query.answered == 0 || now - query.answered < QUERY_SETTLES_US) return;
    if (undisturbed_since(routes, query.sent + 1)) {
        note_query(routes, query.sent);
        ++parent.proved_queries;
    }
    query = {};
}
} // namespace

std::string judge_proofs(random_parent& parent, route_ledger& routes, us_time_t now)
{
    judge_query(parent, routes, now);
    proof_take& take = parent.take;
    if (take.output < 0 || now - take.sent < TAKE_MUST_SHOW_US) return "";
    const proof_take judged = take;
    take = {};
    if (!undisturbed_since(routes, judged.sent + 1)) return "";
    if (judged.made) {
        ++parent.proved_takes;
        return "";
    }
    return "a take did not reach the router: output " + std::to_string(judged.output) + " input " +
           std::to_string(judged.input);
}

} // namespace soak
