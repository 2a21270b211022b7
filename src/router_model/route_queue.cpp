#include "router_model/route_queue.h"

#include <vector>

#include "common/log.h"
#include "common/loop_flags.h"
#include "common/numbers.h"
#include "parent/channel.h"
#include "router_link/connection.h"

namespace {
constexpr us_time_t PACING_PER_CHANGE_US = 66'000;
constexpr us_time_t MAX_PACING_US = 750'000;
constexpr us_time_t QUEUE_TIMEOUT_US = 5'000'000;
constexpr us_time_t BOGUS_FLUSH_ALLOW_US = 1'000'000;    // this far ahead of now
constexpr us_time_t BOGUS_QUEUE_TIMEOUT_US = 10'000'000; // this far ahead of now
} // namespace

std::deque<RouteChange> staged_route_changes;
std::deque<RouteChange> pending_route_changes;
us_time_t flush_allow_time = 0;
us_time_t queue_timeout_time = 0;

namespace {
// One slot per output, empty where no change is pending. Empties the pending queue.
std::vector<RouteChange> drain_into_slots()
{
    std::vector<RouteChange> route_slots(number_of_outputs);
    const auto slot_count = static_cast<std::int32_t>(route_slots.size());
    for (; !pending_route_changes.empty(); pending_route_changes.pop_front()) {
        const RouteChange& change = pending_route_changes.front();
        if (change.output >= 0 && change.output < slot_count)
            route_slots[static_cast<std::size_t>(change.output)] = change;
    }
    return route_slots;
}

// The bases are read for each message: a parent record or an update may come in between.
std::uint32_t output_index(const RouteChange& change)
{
    return static_cast<std::uint32_t>(change.output) +
           static_cast<std::uint32_t>(output_index_base);
}

std::uint32_t input_index(const RouteChange& change)
{
    return static_cast<std::uint32_t>(change.input) + static_cast<std::uint32_t>(input_index_base);
}

void send_route_change(const RouteChange& change)
{
    // The router first: a record handled now meets what the router has said by now.
    service_router_connection();
    service_parent_and_dispatch();
    connection_sendmsg(
        make_request("TI", {upper_hex(output_index(change)), upper_hex(input_index(change))}));
    service_router_connection();
    service_parent_and_dispatch();
    connection_sendmsg(make_status_query(output_index(change)));
    flush_allow_time += PACING_PER_CHANGE_US;
}
} // namespace

void send_route_changes()
{
    if (!router_link_is_up() || discovery_needed || number_of_outputs == 0 ||
        pending_route_changes.empty())
        return;
    const us_time_t start = now_us();
    if (flush_allow_time > start) {
        log_debug("Route changes too soon, will flush later");
        return;
    }
    flush_allow_time = start;
    const std::vector<RouteChange> route_slots = drain_into_slots();
    // A look of its own at the clock: the time-out counts from the empty queue, the pacing from the
    // burst's beginning, which its end still needs.
    queue_timeout_time = now_us() + QUEUE_TIMEOUT_US;
    for (const RouteChange& change : route_slots)
        if (change.output >= 0 && change.input >= -1) send_route_change(change);
    service_router_connection();
    service_parent_and_dispatch();
    if (start + MAX_PACING_US < flush_allow_time) flush_allow_time = start + MAX_PACING_US;
}

void pace_route_changes()
{
    const us_time_t now = now_us();
    if (queue_timeout_time >= now + BOGUS_QUEUE_TIMEOUT_US) {
        log_warning("Queue timeout too far into the future");
        queue_timeout_time = 0; // so nothing expires in this call
    }
    if (flush_allow_time >= now + BOGUS_FLUSH_ALLOW_US) {
        log_warning("Flush allow too far into the future");
        flush_allow_time = 0;
    }
    if (queue_timeout_time != 0 && now >= queue_timeout_time) {
        staged_route_changes.clear();
        pending_route_changes.clear();
        queue_timeout_time = 0;
        return;
    }
    if (!pending_route_changes.empty() && flush_allow_time != 0 && flush_allow_time <= now) {
        log_debug("Now sending delayed route changes");
        send_route_changes();
    }
}
