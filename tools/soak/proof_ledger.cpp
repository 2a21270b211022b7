#include "soak/proof_ledger.h"

#include <utility>

namespace soak {

namespace {
constexpr us_time_t QUERY_SETTLES_US = 1'000'000; // from its reply to the last answer's report
constexpr us_time_t TAKE_MUST_SHOW_US = 4'000'000;
} // namespace

bool note_proof_reply(proof_ledger& proofs, const std::string& id, us_time_t now)
{
    if (id == proofs.query.id) proofs.query.answered = now;
    if (id == proofs.flood_id) {
        ++proofs.floods;
        proofs.flood_id.clear();
    }
    return id == proofs.query.id || id == proofs.take.id;
}

void note_take_made(proof_ledger& proofs, int output, int input)
{
    proof_take& take = proofs.take;
    if (take.output == output && take.input == input) take.made = true;
}

void note_take_reported(proof_ledger& proofs, int output, int input)
{
    proof_take& take = proofs.take;
    if (take.output == output && take.input == input) take.reported = true;
}

std::string judge_proofs(proof_ledger& proofs, route_ledger& routes, us_time_t now)
{
    if (proofs.query.answered != 0 && now - proofs.query.answered >= QUERY_SETTLES_US) {
        const proof_query query = std::exchange(proofs.query, {});
        if (undisturbed_since(routes, query.sent + 1)) {
            note_query(routes, query.sent);
            ++proofs.queries;
        }
    }
    if (proofs.take.output < 0 || now - proofs.take.sent < TAKE_MUST_SHOW_US) return "";
    const proof_take take = std::exchange(proofs.take, {});
    if (!undisturbed_since(routes, take.sent + 1)) return "";
    if (!take.made)
        return "a take did not reach the router: " + route_text(take.output, take.input);
    // The parent may know it from before, or never learn what the router has replaced meanwhile.
    const destination_state& state = routes.destinations[static_cast<std::size_t>(take.output)];
    if (!take.reported && !state.known && state.shown.back().source == take.input)
        return "a take was not reported: " + route_text(take.output, take.input);
    ++proofs.takes;
    return "";
}

std::vector<std::string> missing_proofs(const proof_ledger& proofs, std::uint64_t connections)
{
    std::vector<std::string> missing;
    if (connections == 0) missing.emplace_back("the backend never reached the router");
    if (proofs.queries == 0) missing.emplace_back("no query of all outputs was left undisturbed");
    if (proofs.takes == 0) missing.emplace_back("no take was proved");
    if (proofs.floods == 0) missing.emplace_back("no flood was answered");
    if (proofs.port_changes == 0) missing.emplace_back("no change of the router's port was proved");
    if (connections < 2) missing.emplace_back("no reconnection was seen");
    return missing;
}

} // namespace soak
