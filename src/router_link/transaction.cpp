#include "router_link/transaction.h"

#include <optional>
#include <utility>

#include "common/check.h"
#include "common/log.h"
#include "common/numbers.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_model/state.h"

namespace {
constexpr unsigned POLLING_PAUSE_US = 10'000;
} // namespace

void handle_router_message(const router_message& message)
{
    if (mnemonic_of(message) != "IQ") {
        log_debug("Router message(raw): '%s' %s", message.raw.c_str(),
                  router_message_text(message).c_str());
        return;
    }
    if (!message.ok || message.parameters.size() < 5) return;
    // Unsigned, so that a router index below its base is far out of range.
    const std::uint64_t output = hex_number(message.parameters[0]) - output_index_base;
    const std::uint64_t source = hex_number(message.parameters[4]);
    const std::uint64_t input = source - input_index_base;
    if (output >= discovered_outputs) return;
    if (input < discovered_inputs) {
        accept_route_change(static_cast<std::int32_t>(output), static_cast<std::int32_t>(input));
    } else if (input == 0 && input_index_base != 0) {
        // No source names are known, yet there is a base: its own number then means no source.
        accept_route_change(static_cast<std::int32_t>(output), -1);
    }
}

namespace {
// Pops until the queue is empty, 10 ms a message. A router that keeps sending cannot hold this up
// beyond the deadline; what is left then must not outlive the connection, whose end is near, and be
// taken for messages of the next one.
void discard_stale_messages(us_time_t deadline)
{
    while (!router_rx_queue.empty() && now_us() < deadline) {
        router_rx_queue.pop_front();
        service_router_connection();
        pause_us(POLLING_PAUSE_US);
    }
    router_rx_queue.clear();
}

// The error reply to an earlier status request, which may arrive while another reply is awaited.
bool is_late_status_error(const router_message& message, const router_message& request)
{
    return message.ok && mnemonic_of(request) != "QD" && mnemonic_of(message) == "ER" &&
           message.parameters.size() >= 2 && message.parameters[1] == "QD";
}

bool ends_reply(const router_message& message, const std::vector<router_message>& response)
{
    return !message.ok || message.seq == '\0' || message.seq == '0' || message.ack || message.nak ||
           (!response.empty() && (message.request != response.front().request ||
                                  message.protocol != response.front().protocol));
}

// The next message that may belong to a reply; pauses 10 ms where there is none.
std::optional<router_message> next_reply_message()
{
    if (router_rx_queue.empty()) {
        pause_us(POLLING_PAUSE_US);
        return std::nullopt;
    }
    router_message message = std::move(router_rx_queue.front());
    router_rx_queue.pop_front();
    if (message.raw.empty()) { // a bare ACK
        pause_us(POLLING_PAUSE_US);
        return std::nullopt;
    }
    return message;
}

// Logs the failure, closes the connection and is false.
bool fail_transaction(const char* reason)
{
    log_error("%s", reason);
    close_router_connection();
    return false;
}
} // namespace

bool do_timeout_send_and_recv(const router_message& request, std::vector<router_message>& response,
                              us_time_t deadline)
{
    response.clear();
    service_router_connection();
    discard_stale_messages(deadline);
    if (!connection_sendmsg(request)) return fail_transaction("Unable to send message");
    for (bool ended = false; !ended;) {
        if (now_us() >= deadline) return fail_transaction("Timeout receiving message");
        // The parent first: what it sends goes out with this turn's write, and what the router says
        // is looked at right after it has been read.
        service_parent_and_dispatch();
        service_router_connection();
        // Once more: the service reads before it writes, and what comes behind a full read or
        // answers that write would otherwise wait 10 ms for the next turn.
        receive_from_router();
        std::optional<router_message> message = next_reply_message();
        if (!message || (response.empty() && is_late_status_error(*message, request))) continue;
        ended = ends_reply(*message, response);
        handle_router_message(*message);
        if (response.size() < MAX_REPLY_MESSAGES) response.push_back(std::move(*message));
    }
    CHECK_NAMED(!response.empty(), "!response.empty() && response.size() > 0");
    return true;
}
