#include "router_link/status_request.h"

#include <cstdlib>
#include <optional>
#include <utility>

#include "common/log.h"
#include "common/loop_flags.h"
#include "common/numbers.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/transaction.h"
#include "router_model/names.h"
#include "router_model/state.h"

namespace {
constexpr us_time_t STATUS_DEADLINE_US = 2'000'000;
constexpr us_time_t UPDATE_DEADLINE_US = 3'000'000;
constexpr us_time_t CYCLE_INTERVAL_US = 350'000;
constexpr unsigned CYCLE_SPREAD_MASK_US = 0xFFF;
constexpr std::uint64_t SOURCE_NAMES_CHANGED = 0x10;
constexpr std::uint64_t DESTINATION_NAMES_CHANGED = 0x04;

// Messages handled in one call: a router that never stops sending cannot keep the parent, the
// reports or a termination signal waiting. The next passes go on as if there had been no break: no
// wait, and no cycle, which would throw the rest away as stale.
constexpr int MAX_DRAINED_MESSAGES = 4096;
} // namespace

us_time_t next_status_request = 0;
bool drain_interrupted = false;

namespace {
void refresh_names(const char* kind, void (*update)(const std::vector<router_message>&))
{
    // The deadline counts from here, whatever the parent's record takes; the parent comes first as
    // in the turns of the transaction that follows.
    const us_time_t deadline = now_us() + UPDATE_DEADLINE_US;
    service_parent_and_dispatch();
    service_router_connection();
    std::vector<router_message> response;
    do_timeout_send_and_recv(make_request("QN", {kind}), response, deadline);
    update(response);
}

std::optional<std::uint64_t> change_flags_in(const std::vector<router_message>& response)
{
    if (response.size() != 1 || mnemonic_of(response[0]) != "KB") return std::nullopt;
    const std::vector<std::string>& answer = response[0].parameters;
    if (answer.size() < 2 || answer[0] != "F") return std::nullopt;
    return hex_number(answer[1]);
}

// Asks for the change flags, reads names again where they say so and clears them. Returns false
// when the router did not answer.
bool request_change_flags()
{
    std::vector<router_message> response;
    if (!do_timeout_send_and_recv(make_request("BK", {"F"}), response,
                                  now_us() + STATUS_DEADLINE_US))
        return false;
    const std::optional<std::uint64_t> flags = change_flags_in(response);
    if (!flags) return true;
    if ((*flags & SOURCE_NAMES_CHANGED) != 0) refresh_names("IS", update_sources_info);
    if ((*flags & DESTINATION_NAMES_CHANGED) != 0) refresh_names("ID", update_dest_info);
    const std::string cleared = upper_hex(static_cast<std::uint32_t>(*flags));
    do_timeout_send_and_recv(make_request("BK", {"f", cleared}), response,
                             now_us() + UPDATE_DEADLINE_US);
    return true;
}

// The router names changed destinations by their names, and one name may stand for several.
void mark_outputs_named(const std::string& name, std::vector<bool>& changed)
{
    for (std::size_t i = 0; i < router_outputs_info.size() && i < changed.size(); ++i)
        if (router_outputs_info[i].name == name) changed[i] = true;
}

// A position beyond the end counts as unchanged, whatever the number of outputs has become.
void query_changed_outputs(const std::vector<bool>& changed)
{
    for (std::uint64_t i = 0; i < number_of_outputs && i < changed.size(); ++i) {
        if (!changed[i]) continue;
        // The router first: a record handled now meets what the router has said by now.
        service_router_connection();
        service_parent_and_dispatch();
        connection_sendmsg(make_status_query(static_cast<std::uint32_t>(i + 1)));
    }
}

// Asks which destinations have changed and queries each; the answers come as ordinary messages.
// Returns false when the router did not answer.
bool request_changed_destinations()
{
    std::vector<router_message> response;
    if (!do_timeout_send_and_recv(make_request("QD"), response, now_us() + STATUS_DEADLINE_US))
        return false;
    std::vector<bool> changed(discovered_outputs); // without a "DQ" none is set, none queried
    for (const router_message& message : response)
        if (message.ok && mnemonic_of(message) == "DQ" && message.parameters.size() >= 2)
            mark_outputs_named(message.parameters[0], changed);
    query_changed_outputs(changed);
    return true;
}

bool run_status_cycle()
{
    log_debug("Sending periodic status request as TCP keepalive and to keep up with unreported "
              "changes if they should occur");
    if (!request_change_flags() || !request_changed_destinations()) return false;
    // Backends on one router drift apart. Unsigned, as the product does not fit; that its low bits
    // favour small numbers does not matter.
    const unsigned spread = static_cast<unsigned>(rand()) * static_cast<unsigned>(rand());
    next_status_request = now_us() + (spread & CYCLE_SPREAD_MASK_US) + CYCLE_INTERVAL_US;
    return true;
}

void drain_received_messages()
{
    service_router_connection();
    service_parent_and_dispatch();
    for (int i = 0; i < MAX_DRAINED_MESSAGES && !router_rx_queue.empty(); ++i) {
        receive_from_router();
        const router_message message = std::move(router_rx_queue.front());
        router_rx_queue.pop_front();
        handle_router_message(message);
    }
    drain_interrupted = !router_rx_queue.empty();
}
} // namespace

void periodic_status_request()
{
    if (!drain_interrupted) {
        if (!router_link_is_up()) return;
        service_router_connection();
        if (!router_link_is_up()) return;
        const bool due =
            next_status_request != 0 && now_us() >= next_status_request && !discovery_needed;
        if (due && !run_status_cycle()) return;
    }
    drain_received_messages();
}
