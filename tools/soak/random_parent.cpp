#include "soak/random_parent.h"

#include "soak/random_commands.h"
#include "tools/common/random.h"

using common::draw;
using common::draw_chance;

namespace soak {

namespace {
constexpr us_time_t SECOND = 1'000'000;
constexpr int LARGEST_FLOOD = 3000; // commands
constexpr us_time_t CALM_US = 12 * SECOND;
constexpr us_time_t QUERY_AT_US = SECOND / 2;      // in a calm phase
constexpr us_time_t TAKE_AT_US = 7 * SECOND;       // when nothing earlier waits for its expiry
constexpr us_time_t LONGEST_AWAY_US = 10 * SECOND; // the backend tries to connect each 5 s

// The third busy phase begins within 48 s, and leaves the backend 12 s: see LEAST_SECONDS.
constexpr int PHASE_OF_WORST = 2; // when the router is known
constexpr int PHASE_OF_PORT_CHANGE = 3;

std::string next_id(random_parent& parent)
{
    return std::to_string(++parent.last_id);
}

// Whatever makes the backend talk to the router crosses its polling.
void send_command(const random_parent& parent, parent_link::backend_link& backend, ledgers& books,
                  const parent_command& command, us_time_t now)
{
    const expected_reply reply{command.command, command.error, command.reaches_router, now};
    if (command.replied) expect_reply(books.replies, std::to_string(parent.last_id), reply);
    if (command.reaches_router) note_disturbance(books.routes, now);
    send_bytes(backend, command.bytes);
}

void read_again(parent_link::backend_link& backend, reply_ledger& replies, us_time_t now)
{
    if (!backend.reads_output) restart_waits(replies, now);
    backend.reads_output = true;
}

void begin_phase(random_parent& parent, parent_link::backend_link& backend, ledgers& books,
                 us_time_t now)
{
    std::mt19937_64& random = parent.random;
    parent.calm = !parent.calm && parent.phase_began != 0;
    parent.phase_began = now;
    parent.queried = parent.taken = parent.leaves_router = false;
    parent.phase_ends = now + CALM_US;
    if (parent.calm) return;
    const us_time_t length = draw<us_time_t>(random, 4, 12) * SECOND;
    parent.phase_ends = now + length;
    ++parent.busy_phases;
    // The worst there is comes early, so that memory has soon met what it will ever meet.
    const bool worst = parent.busy_phases == PHASE_OF_WORST;
    if (worst || draw_chance(random, 0.2)) {
        backend.reads_output = false;
        parent.reads_again = now + length / 2;
    }
    if (worst || draw_chance(random, 0.2)) {
        for (int left = worst ? LARGEST_FLOOD : draw(random, 100, LARGEST_FLOOD); left > 0; --left)
            send_command(parent, backend, books, random_flood_command(random, next_id(parent)),
                         now);
        const std::string id = next_id(parent);
        send_command(parent, backend, books, query_outputs(id), now);
        books.proofs.flood_id = id;
    }
    const bool none_proved =
        parent.busy_phases >= PHASE_OF_PORT_CHANGE && books.proofs.port_changes == 0;
    parent.leaves_router = none_proved || draw_chance(random, 0.05);
}

void send_proof_query(random_parent& parent, parent_link::backend_link& backend, ledgers& books,
                      us_time_t now)
{
    const std::string id = next_id(parent);
    send_command(parent, backend, books, query_outputs(id), now);
    books.proofs.query = {.id = id, .sent = now, .answered = 0};
}

// Nothing unless nothing disturbs it by now.
bool send_proof_take(random_parent& parent, parent_link::backend_link& backend, ledgers& books,
                     us_time_t now)
{
    if (!books.link.up || !undisturbed_since(books.routes, now - DISTURBANCE_LASTS_US))
        return false;
    const int last = static_cast<int>(books.routes.destinations.size()) - 1;
    const int output = draw(parent.random, 0, last);
    const int input = draw(parent.random, 0, last);
    send_command(parent, backend, books, add_route(next_id(parent), output, input), now);
    const std::string id = next_id(parent);
    send_command(parent, backend, books, flush_routes(id), now);
    books.proofs.take = {
        .id = id, .output = output, .input = input, .sent = now, .made = false, .reported = false};
    return true;
}
} // namespace

void act(random_parent& parent, parent_link::backend_link& backend, ledgers& books, us_time_t now)
{
    if (now >= parent.reads_again) read_again(backend, books.replies, now);
    if (now >= parent.phase_ends) begin_phase(parent, backend, books, now);

    if (parent.leaves_router && books.link.up) {
        send_command(parent, backend, books, set_setting("port", parent.other_port), now);
        parent.port_returns = now + LONGEST_AWAY_US;
        parent.leaves_router = false;
    }
    if (parent.port_returns != 0 && now >= parent.port_returns) {
        send_command(parent, backend, books, set_setting("port", parent.port), now);
        parent.port_returns = 0;
    }

    const us_time_t elapsed = now - parent.phase_began;
    if (parent.calm && !parent.queried && elapsed >= QUERY_AT_US && books.proofs.query.id.empty()) {
        send_proof_query(parent, backend, books, now);
        parent.queried = true;
    }
    if (parent.calm && !parent.taken && elapsed >= TAKE_AT_US)
        parent.taken = send_proof_take(parent, backend, books, now);

    if (now < parent.next_command) return;
    const std::string id = next_id(parent);
    send_command(parent, backend, books,
                 parent.calm ? random_quiet_command(parent.random, id)
                             : random_command(parent.random, id),
                 now);
    parent.next_command = now + 1000 * (parent.calm ? draw<us_time_t>(parent.random, 200, 800)
                                                    : draw<us_time_t>(parent.random, 5, 200));
}

void note_visit(random_parent& parent, ledgers& books, us_time_t now)
{
    if (parent.port_returns == 0) return;
    ++books.proofs.port_changes;
    parent.port_returns = now;
}

void stop_acting(random_parent& parent, parent_link::backend_link& backend, ledgers& books,
                 us_time_t now)
{
    read_again(backend, books.replies, now);
    send_command(parent, backend, books, set_setting("port", parent.port), now);
    parent.port_returns = 0;
}

bool settle(random_parent& parent, parent_link::backend_link& backend, ledgers& books,
            us_time_t now)
{
    if (!books.proofs.query.id.empty() || books.proofs.take.output >= 0) return false;
    if (!all_settled(books) || books.proofs.queries == 0)
        send_proof_query(parent, backend, books, now);
    else if (books.proofs.takes == 0)
        send_proof_take(parent, backend, books, now);
    else
        return true;
    return false;
}

} // namespace soak
