#include "soak/route_ledger.h"

#include <algorithm>

namespace soak {

namespace {
constexpr us_time_t HISTORY_US = 120'000'000; // a delayed answer may show what was long ago
constexpr us_time_t PROOF_LAG_US = 2'000'000; // the router's own line may be seen later
} // namespace

route_ledger make_route_ledger(int destinations, us_time_t now)
{
    route_ledger ledger;
    ledger.last_disturbance = now;
    for (int i = 0; i < destinations; ++i) {
        destination_state& state = ledger.destinations.emplace_back();
        state.shown.push_back({i, now});
        state.known = false;
        state.unknown_since = now;
        state.disturbed = true;
    }
    return ledger;
}

namespace {
destination_state* find_state(route_ledger& ledger, int destination)
{
    const auto position = static_cast<std::size_t>(destination);
    return destination >= 0 && position < ledger.destinations.size()
               ? &ledger.destinations[position]
               : nullptr;
}

void become_unknown(const route_ledger& ledger, destination_state& state, us_time_t now)
{
    state.known = false;
    state.unknown_since = now;
    state.failed_queries = 0;
    state.disturbed = !undisturbed_since(ledger, now - DISTURBANCE_LASTS_US);
}

void compare(route_ledger& ledger, destination_state& state, us_time_t now)
{
    const bool known = state.disconnected || state.reported == state.shown.back().source;
    if (known && !state.known && !state.disconnected)
        ++(state.disturbed ? ledger.known_by_query : ledger.known_by_polling);
    if (!known && state.known) become_unknown(ledger, state, now);
    state.known = known;
}
} // namespace

void router_shows(route_ledger& ledger, int destination, int source, us_time_t now)
{
    destination_state* const state = find_state(ledger, destination);
    if (state == nullptr) return;
    state->disconnected = source < 0;
    if (!state->disconnected) state->shown.push_back({source, now});
    // Each was shown until the next one came.
    while (state->shown.size() > 2 && now - state->shown[1].since > HISTORY_US)
        state->shown.pop_front();
    ++ledger.changes;
    become_unknown(ledger, *state, now);
    compare(ledger, *state, now);
}

void router_claims(route_ledger& ledger, int destination, int source, us_time_t now)
{
    destination_state* const state = find_state(ledger, destination);
    if (state != nullptr) state->shown.insert(state->shown.end() - 1, {source, now});
}

void note_reported(route_ledger& ledger, int destination, int source, us_time_t now)
{
    ledger.unproved.push_back({destination, source, now});
    note_doubtful_report(ledger, destination, source, now);
}

void note_doubtful_report(route_ledger& ledger, int destination, int source, us_time_t now)
{
    destination_state* const state = find_state(ledger, destination);
    if (state == nullptr) return;
    state->reported = source;
    compare(ledger, *state, now);
}

void note_disturbance(route_ledger& ledger, us_time_t now)
{
    ledger.last_disturbance = now;
    for (destination_state& state : ledger.destinations)
        if (!state.known) state.disturbed = true;
}

bool undisturbed_since(const route_ledger& ledger, us_time_t time)
{
    return ledger.last_disturbance < time;
}

void note_query(route_ledger& ledger, us_time_t sent)
{
    for (destination_state& state : ledger.destinations)
        if (!state.known && state.unknown_since < sent) ++state.failed_queries;
}

bool all_known(const route_ledger& ledger)
{
    return std::all_of(ledger.destinations.begin(), ledger.destinations.end(),
                       [](const destination_state& state) { return state.known; });
}

std::string route_text(int destination, int source)
{
    return "output " + std::to_string(destination) + " input " + std::to_string(source);
}

namespace {
std::string find_invented_route(route_ledger& ledger, us_time_t now)
{
    while (!ledger.unproved.empty() && now - ledger.unproved.front().when > PROOF_LAG_US) {
        const reported_route report = ledger.unproved.front();
        ledger.unproved.pop_front();
        const destination_state* const state = find_state(ledger, report.destination);
        const bool shown = state != nullptr && std::any_of(state->shown.begin(), state->shown.end(),
                                                           [&](const shown_route& route) {
                                                               return route.source == report.source;
                                                           });
        if (!shown)
            return "reported, but never shown by the router: " +
                   route_text(report.destination, report.source);
    }
    return "";
}

bool must_be_known(const destination_state& state, us_time_t now)
{
    if (state.known) return false;
    if (state.disturbed) return state.failed_queries > QUERIES_THAT_MAY_FAIL;
    return now - state.unknown_since > POLLING_MUST_SHOW_US;
}
} // namespace

std::string find_wrong_route(route_ledger& ledger, us_time_t now)
{
    std::string invention = find_invented_route(ledger, now);
    if (!invention.empty()) return invention;
    for (std::size_t i = 0; i < ledger.destinations.size(); ++i) {
        destination_state& state = ledger.destinations[i];
        if (!must_be_known(state, now)) continue;
        state.known = true;
        return std::string("changed by the router, unknown to the parent ") +
               (state.disturbed ? "after three undisturbed queries: " : "after 5 s of polling: ") +
               route_text(static_cast<int>(i), state.shown.back().source) +
               ", last reported input " + std::to_string(state.reported);
    }
    return "";
}

} // namespace soak
