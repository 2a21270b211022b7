#include "router_simulator/scenario/fault_table.h"

#include <algorithm>

#include "router_simulator/scenario/connection_faults.h"
#include "router_simulator/scenario/reply_faults.h"

namespace router_simulator {

namespace {
using enum fault_key;

constexpr fault_row FAULTS[] = {
    // Of a reply.
    {.name = "delay",
     .keys = {ms_range},
     .joins_others = true,
     .only_delays = true,
     .change_reply = delay_reply},
    {.name = "lose", .change_reply = lose_reply},
    {.name = "late", .keys = {ms_range}, .change_reply = send_late},
    {.name = "duplicate", .change_reply = send_twice},
    {.name = "reorder", .change_reply = reorder_frames},
    {.name = "checksum", .change_reply = spoil_checksums},
    {.name = "nak", .prevents = true, .change_reply = reply_nak},
    {.name = "error", .keys = {code}, .prevents = true, .change_reply = reply_error},
    {.name = "truncate", .keys = {bytes}, .change_reply = truncate_frame},
    {.name = "length", .keys = {bytes}, .change_reply = change_length},
    {.name = "nul", .change_reply = insert_nul},
    {.name = "cut", .keys = {cut_at, ms}, .only_delays = true, .change_reply = cut_in_pieces},
    {.name = "contradict", .of_routes = true, .change_reply = contradict_route},
    {.name = "endless",
     .keys = {messages, rate},
     .span = fault_span::connection,
     .change_reply = repeat_without_end},
    // Of the connection.
    {.name = "garbage", .keys = {some_bytes}, .strike_client = send_garbage},
    {.name = "silence",
     .keys = {seconds},
     .span = fault_span::connection,
     .stops = {.answering = true},
     .strike_client = stop_actions},
    {.name = "half-open",
     .span = fault_span::connection,
     .stops = {.reading = true, .answering = true, .writing = true},
     .strike_client = stop_actions},
    {.name = "stop reading",
     .keys = {seconds},
     .span = fault_span::connection,
     .stops = {.reading = true},
     .strike_client = stop_actions},
    {.name = "close", .strike_client = end_stream},
    {.name = "reset", .keys = {inside}, .strike_client = reset_connection},
    {.name = "refuse",
     .keys = {seconds},
     .span = fault_span::listener,
     .stops = {.accepting = true},
     .strike_router = refuse_connections},
    {.name = "ignore",
     .keys = {seconds},
     .span = fault_span::listener,
     .stops = {.reading = true, .answering = true},
     .strike_client = stop_actions},
    {.name = "burst",
     .keys = {messages, rate},
     .span = fault_span::connection,
     .strike_client = start_burst},
    // Of the router.
    {.name = "take", .keys = {destination, source}, .strike_router = make_take},
    {.name = "rename", .keys = {source, destination, to}, .strike_router = make_rename},
    {.name = "lock", .keys = {destination}, .strike_router = lock_destination},
    {.name = "unlock", .keys = {destination}, .strike_router = unlock_destination},
    {.name = "refuse take", .keys = {destination, source, code}, .strike_router = refuse_take},
    {.name = "allow take", .keys = {destination, source}, .strike_router = allow_take},
};
} // namespace

std::span<const fault_row> all_faults()
{
    return FAULTS;
}

const fault_row* fault_named(std::string_view name)
{
    const auto* const found =
        std::find_if(std::begin(FAULTS), std::end(FAULTS),
                     [name](const fault_row& row) { return row.name == name; });
    return found == std::end(FAULTS) ? nullptr : found;
}

bool concerns_reply(const fault_row& fault)
{
    return fault.change_reply != nullptr;
}

const char* key_name(fault_key key)
{
    switch (key) {
    case none:
        return "";
    case ms_range:
    case ms:
        return "ms";
    case cut_at:
        return "at";
    case code:
        return "code";
    case bytes:
    case some_bytes:
        return "bytes";
    case messages:
        return "messages";
    case rate:
        return "rate";
    case seconds:
        return "for";
    case inside:
        return "inside";
    case destination:
        return "destination";
    case source:
        return "source";
    case to:
        return "to";
    }
    return "";
}

bool has_key(const fault_row& fault, fault_key key)
{
    return std::find(fault.keys.begin(), fault.keys.end(), key) != fault.keys.end();
}

std::string fault_help()
{
    std::string of_replies;
    std::string others;
    for (const fault_row& fault : FAULTS) {
        std::string& names = concerns_reply(fault) ? of_replies : others;
        names += (names.empty() ? "" : ", ") + std::string(fault.name);
    }
    return "Faults of a scenario:\n  of a reply: " + of_replies + "\n  others: " + others + "\n";
}

} // namespace router_simulator
