#include "router_model/discovery.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

#include "common/check.h"
#include "common/log.h"
#include "common/loop_flags.h"
#include "common/numbers.h"
#include "control/reports.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/status_request.h"
#include "router_link/transaction.h"
#include "router_model/names.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"

namespace {
constexpr us_time_t COLLECTION_LIMIT_US = 6'000'000;
constexpr us_time_t FIRST_STATUS_REQUEST_US = 350'000;
constexpr unsigned STALE_PAUSE_US = 10'000;
constexpr timeval COLLECTION_WAIT = {0, 10'000};
constexpr std::uint64_t LEVEL_LIMIT = 32;    // level numbers are below this
constexpr std::size_t FIRST_LEVEL_ENTRY = 2; // parameter where the entries begin
constexpr std::size_t LEVEL_ENTRY_PARAMETERS = 3;

// Messages looked at after the deadline: a router that never stops sending must not hold collection
// up. A bound in time would lose answers that wait in the socket of a process that was held up.
constexpr int MAX_LATE_MESSAGES = 65'536;

// The answers of one kind until the last of their set has come.
struct answer_set {
    std::vector<router_message> answers;
    bool complete = false;
};

struct collection {
    answer_set levels;
    answer_set sources;
    answer_set destinations;
};

// Serves both sides, then sends. A failure closes the connection and ends discovery.
bool send_request(const router_message& request, const char* announcement = nullptr)
{
    service_router_connection();
    service_parent_and_dispatch();
    if (announcement != nullptr) log_debug("%s", announcement);
    if (connection_sendmsg(request)) return true;
    log_error("Unable to send message");
    close_router_connection();
    return false;
}

// Bounded like the collection, for a router that keeps sending.
void discard_stale_messages()
{
    const us_time_t deadline = now_us() + COLLECTION_LIMIT_US;
    service_router_connection();
    while (!router_rx_queue.empty() && !quit_requested && now_us() < deadline) {
        router_rx_queue.pop_front();
        service_router_connection();
        pause_us(STALE_PAUSE_US);
    }
    router_rx_queue.clear();
}

bool send_discovery_requests()
{
    return send_request(make_request("BK")) && send_request(make_request("BK", {"N"})) &&
           send_request(make_request("BK", {"R"})) && send_request(make_request("BK", {"T"})) &&
           send_request(make_request("BK", {"I", "15"})) &&
           send_request(make_request("BK", {"E", "ON"})) &&
           send_request(make_request("QN", {"L"}), "Asking for levels...") &&
           send_request(make_request("QN", {"IS"}), "Asking for sources...") &&
           send_request(make_request("QN", {"ID"}), "Asking for destinations...");
}

void store_level(std::uint64_t number, const std::string& name)
{
    if (number >= LEVEL_LIMIT) return;
    if (router_levels.size() < number + 1) router_levels.resize(number + 1);
    level_mask |= std::uint32_t{1} << number;
    CHECK(number < router_levels.size());
    router_levels[number] = name;
}

// The announced number of entries is an upper bound: the answer ends at the first that does not
// fit whole.
void read_level_entries(const router_message& rawmsg)
{
    const std::uint64_t count = hex_number(rawmsg.parameters[1]);
    std::size_t i = FIRST_LEVEL_ENTRY;
    for (std::uint64_t k = 0; k < count; ++k) {
        if (rawmsg.parameters.size() < i + LEVEL_ENTRY_PARAMETERS) return;
        const std::string* const entry = &rawmsg.parameters[i];
        i += LEVEL_ENTRY_PARAMETERS;
        CHECK(i <= rawmsg.parameters.size());
        store_level(hex_number(entry[1]), entry[0]);
    }
}
} // namespace

void update_levels_info(const std::vector<router_message>& answers)
{
    router_levels.clear();
    level_mask = 0;
    for (const router_message& rawmsg : answers) {
        if (mnemonic_of(rawmsg) != "NQ" || !rawmsg.ok || rawmsg.parameters.size() < 2) continue;
        if (rawmsg.parameters[0] != "L") return;
        read_level_entries(rawmsg);
    }
}

namespace {
void read_identity(const std::vector<std::string>& answer)
{
    if (answer[0] == "N") {
        device_model = answer[1];
        if (!device_model.empty()) log_note("Device is a \"%s\"", device_model.c_str());
    } else if (answer[0] == "R") {
        software_revision = answer[1];
        if (!software_revision.empty()) log_note("S/W revision \"%s\"", software_revision.c_str());
    } else if (answer[0] == "T") {
        software_title = answer[1];
        if (!software_title.empty())
            log_note("S/W title with version \"%s\"", software_title.c_str());
    }
}

void add_answer(answer_set& set, router_message& message,
                void (*update)(const std::vector<router_message>&))
{
    const bool last = message.seq == '0';
    if (set.answers.size() < MAX_REPLY_MESSAGES) set.answers.push_back(std::move(message));
    if (!last) return;
    update(set.answers);
    set.answers.clear();
    set.complete = true;
}

// Keeps the message itself when it is a name answer. Whatever is neither that nor an identity,
// routing status included, is passed over.
void collect_message(collection& collected, router_message& message)
{
    const std::vector<std::string>& parameters = message.parameters;
    if (mnemonic_of(message) == "KB" && parameters.size() >= 2) {
        read_identity(parameters);
    } else if (mnemonic_of(message) == "NQ" && !parameters.empty()) {
        // The message is moved from: it still stands in the queue, where nobody looks at it again.
        if (parameters[0] == "L") {
            add_answer(collected.levels, message, update_levels_info);
        } else if (parameters[0] == "S") {
            add_answer(collected.sources, message, update_sources_info);
        } else if (parameters[0] == "D") {
            add_answer(collected.destinations, message, update_dest_info);
        }
    }
}

// Until the router or the parent has something to say. A parent at end of file would make the wait
// return at once for ever.
void wait_for_either_side()
{
    fd_set readable;
    FD_ZERO(&readable);
    if (router_fd >= 0) FD_SET(router_fd, &readable);
    if (!parent_input_ended) FD_SET(STDIN_FILENO, &readable);
    wait_for_descriptors(std::max(router_fd, STDIN_FILENO) + 1, &readable, nullptr,
                         COLLECTION_WAIT);
}

// Returns false when the process is to quit.
bool collect_answers()
{
    collection collected;
    int late_messages = 0;
    const us_time_t discovery_deadline = now_us() + COLLECTION_LIMIT_US;
    for (;;) {
        service_router_connection();
        service_parent_and_dispatch();
        const bool late = discovery_deadline <= now_us();
        if (quit_requested) return false;
        if (late && (router_rx_queue.empty() || late_messages == MAX_LATE_MESSAGES)) {
            log_error("Timeout during query (d=%u s=%u l=%u)", collected.destinations.complete,
                      collected.sources.complete, collected.levels.complete);
            return true;
        }
        if (!router_rx_queue.empty()) {
            if (late) ++late_messages;
            collect_message(collected, router_rx_queue.front());
            router_rx_queue.pop_front();
        } else if (collected.sources.complete && collected.levels.complete &&
                   collected.destinations.complete) {
            log_debug("Router finished returning levels, sources, destinations");
            return true;
        } else if (parent_record_ready() == nullptr) {
            wait_for_either_side();
        }
    }
}

void compose_firmware_version()
{
    if (software_title.empty()) {
        firmware_version = software_revision;
    } else if (software_revision.empty()) {
        firmware_version = software_title;
    } else {
        firmware_version = software_title + " [" + software_revision + "]";
    }
    if (!firmware_version.empty()) log_note("Firmware: %s", firmware_version.c_str());
}

// Changes queued while the router was away go out now. They would be held back while discovery is
// due, so the flag is down meanwhile; a close in between leaves it down.
void send_waiting_route_changes()
{
    discovery_needed = false;
    pace_route_changes();
    send_route_changes();
    discovery_needed = router_fd >= 0;
}

bool query_all_outputs()
{
    for (std::uint64_t i = 1; i <= number_of_outputs; ++i)
        if (!send_request(make_status_query(static_cast<std::uint32_t>(i)))) return false;
    return true;
}
} // namespace

void run_discovery()
{
    discard_stale_messages();
    if (!router_link_is_up()) {
        close_router_connection();
        return;
    }
    firmware_version.clear();
    device_model.clear();
    software_title.clear();
    software_revision.clear();
    if (!send_discovery_requests()) return;
    if (!collect_answers()) {
        close_router_connection();
        return;
    }
    // As far as we know they tell the router that all is read: "D" drops the changes that it has
    // noted for us so far. It confirms them without data, and nobody waits for that.
    if (!send_request(make_request("BK", {"D"})) || !send_request(make_request("BK", {"A"})))
        return;
    compose_firmware_version();
    next_status_request = now_us() + FIRST_STATUS_REQUEST_US;
    if (io_counts_changed) {
        recompute_io_counts();
        io_counts_changed = false;
    }
    send_waiting_route_changes();
    info_report_pending = false;
    send_info_report();
    if (!query_all_outputs()) return;
    send_routing_report();
}
