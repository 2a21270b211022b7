#include "router_simulator/router/answers.h"

#include <algorithm>
#include <utility>

#include "common/numbers.h"
#include "tools/common/numbers.h"

namespace router_simulator {

namespace {
// Room for the parameters of one message, their tabs included, in the encoder's 1024 bytes. Names
// are short enough for at least one entry.
constexpr std::size_t PARAMETER_ROOM = 1000;

// One request being answered.
struct open_request {
    simulated_router& router;
    client_view& view;
    int client;
    const std::string mnemonic;
    const std::vector<std::string>& parameters;
    std::vector<addressed_message> answers;
};

// The parameters of one entry of a name answer.
using name_entry = std::vector<std::string>;

void reply(open_request& request, router_message message)
{
    request.answers.push_back({request.client, std::move(message)});
}

void reply_code(open_request& request, const char* code)
{
    reply(request, make_request("ER", {code, request.mnemonic}));
}

void confirm(open_request& request)
{
    if (request.view.confirms_commands) reply_code(request, NO_ERROR);
}

// Sends the messages as one reply: the sequence byte of all but the last says that it goes on.
void reply_in_sequence(open_request& request, std::vector<router_message> messages)
{
    const bool counts = request.router.options.sequence == sequence_style::counting;
    for (std::size_t i = 0; i + 1 < messages.size(); ++i)
        messages[i].seq = static_cast<char>('1' + (counts ? i % 9 : 0));
    for (router_message& message : messages)
        reply(request, std::move(message));
}

std::optional<std::uint32_t> hexadecimal(const std::string& text)
{
    std::uint32_t value = 0;
    if (!common::read_hexadecimal(text, value)) return std::nullopt;
    return value;
}

void reply_identity(open_request& request, const std::string& text)
{
    reply(request, make_request("KB", {request.parameters[0], text}));
}

void clear_flags(open_request& request)
{
    const auto flags =
        request.parameters.size() == 2 ? hexadecimal(request.parameters[1]) : std::nullopt;
    if (!flags) return reply_code(request, BAD_PARAMETERS);
    request.view.flags &= ~*flags;
    confirm(request);
}

void switch_confirmation(open_request& request)
{
    const std::string& state = request.parameters.size() == 2 ? request.parameters[1] : "";
    if (state != "ON" && state != "OFF") return reply_code(request, BAD_PARAMETERS);
    request.view.confirms_commands = state == "ON";
    confirm(request);
}

void answer_background(open_request& request)
{
    if (request.parameters.empty()) return confirm(request);
    const router_options& options = request.router.options;
    const std::string& kind = request.parameters[0];
    if (kind == "N") return reply_identity(request, options.model);
    if (kind == "R") return reply_identity(request, options.revision);
    if (kind == "T") return reply_identity(request, options.title);
    if (kind == "F") return reply_identity(request, upper_hex(request.view.flags));
    if (kind == "f") return clear_flags(request);
    if (kind == "E") return switch_confirmation(request);
    if (kind == "D") request.view.changed_destinations.clear();
    if (kind == "D" || kind == "I" || kind == "A") return confirm(request);
    reply_code(request, BAD_PARAMETERS);
}

std::size_t encoded_length(const std::vector<std::string>& parameters)
{
    std::size_t length = 0;
    for (const std::string& parameter : parameters)
        length += 1 + parameter.size();
    return length;
}

// A set of names split over as many messages as needed, at least one. Each begins with the kind and
// its number of entries.
void reply_names(open_request& request, const char* kind, const std::vector<name_entry>& entries)
{
    const std::size_t limit = request.router.options.entries_per_answer;
    std::vector<router_message> messages{make_request("NQ", {kind, "0"})};
    std::size_t count = 0;
    std::size_t room = PARAMETER_ROOM;
    for (const name_entry& entry : entries) {
        if (count == limit || encoded_length(entry) > room) {
            messages.push_back(make_request("NQ", {kind, "0"}));
            count = 0;
            room = PARAMETER_ROOM;
        }
        std::vector<std::string>& parameters = messages.back().parameters;
        parameters.insert(parameters.end(), entry.begin(), entry.end());
        parameters[1] = upper_hex(static_cast<std::uint32_t>(++count));
        room -= encoded_length(entry);
    }
    reply_in_sequence(request, std::move(messages));
}

std::vector<name_entry> port_entries(const port_list& ports)
{
    std::vector<name_entry> entries;
    for (std::size_t i = 0; i < ports.names.size(); ++i)
        entries.push_back({ports.names[i], wire_index(index_of(ports, i)), "0", "0"});
    return entries;
}

std::vector<name_entry> level_entries(const std::vector<std::string>& levels)
{
    std::vector<name_entry> entries;
    for (std::size_t i = 0; i < levels.size(); ++i)
        entries.push_back({levels[i], upper_hex(static_cast<std::uint32_t>(i)), "0"});
    return entries;
}

void answer_name_query(open_request& request)
{
    const std::string kind = request.parameters.size() == 1 ? request.parameters[0] : "";
    const simulated_router& router = request.router;
    if (kind == "L") return reply_names(request, "L", level_entries(router.levels));
    if (kind == "IS") return reply_names(request, "S", port_entries(router.sources));
    if (kind == "ID") return reply_names(request, "D", port_entries(router.destinations));
    reply_code(request, BAD_PARAMETERS);
}

// Routes are the same on all levels, so a change is one of all levels.
std::uint32_t all_levels_mask(const simulated_router& router)
{
    const std::size_t count = std::max<std::size_t>(router.levels.size(), 1);
    return UINT32_MAX >> (32 - count);
}

router_message changed_destination(const simulated_router& router, std::size_t destination)
{
    return make_request("DQ",
                        {router.destinations.names[destination], upper_hex(all_levels_mask(router)),
                         wire_index(index_of(router.sources, router.routes[destination]))});
}

void answer_changed_destinations(open_request& request)
{
    std::vector<router_message> messages;
    for (const std::size_t destination : std::exchange(request.view.changed_destinations, {}))
        messages.push_back(changed_destination(request.router, destination));
    if (messages.empty()) return reply_code(request, NO_ERROR);
    reply_in_sequence(request, std::move(messages));
}

// The two numbers of a request about a destination. Without the second it counts as 0.
bool read_numbers(const open_request& request, std::size_t needed, std::uint32_t& first,
                  std::uint32_t& second)
{
    const std::vector<std::string>& parameters = request.parameters;
    if (parameters.size() < needed || parameters.size() > 2) return false;
    const auto one = hexadecimal(parameters[0]);
    const auto two = parameters.size() == 2 ? hexadecimal(parameters[1]) : 0;
    first = one.value_or(0);
    second = two.value_or(0);
    return one && two;
}

void answer_routing_query(open_request& request)
{
    std::uint32_t index = 0;
    std::uint32_t level = 0;
    if (!read_numbers(request, 1, index, level)) return reply_code(request, BAD_PARAMETERS);
    const simulated_router& router = request.router;
    const auto destination = position_of(router.destinations, index);
    if (!destination) return reply_code(request, NO_SUCH_DESTINATION);
    // A router without named levels still has one to route on.
    if (level != 0 && level >= router.levels.size()) return reply_code(request, NO_SUCH_LEVEL);
    reply(request, routing_status(router, *destination, level));
}

void answer_take(open_request& request)
{
    std::uint32_t destination_index = 0;
    std::uint32_t source_index = 0;
    if (!read_numbers(request, 2, destination_index, source_index))
        return reply_code(request, BAD_PARAMETERS);
    simulated_router& router = request.router;
    const auto destination = position_of(router.destinations, destination_index);
    const bool disconnects = source_index == index_of(router.sources, NO_SOURCE);
    const auto source = disconnects ? NO_SOURCE : position_of(router.sources, source_index);
    if (!destination) return reply_code(request, NO_SUCH_DESTINATION);
    if (!source) return reply_code(request, NO_SUCH_SOURCE);
    const auto refused = router.refused.find({*destination, *source});
    if (refused != router.refused.end()) return reply_code(request, refused->second.c_str());
    confirm(request);
    if (router.locked.contains(*destination)) return;
    for (addressed_message& announcement : take_route(router, *destination, *source))
        request.answers.push_back(std::move(announcement));
}

void answer_known_request(open_request& request)
{
    if (request.mnemonic == "BK") return answer_background(request);
    if (request.mnemonic == "QN") return answer_name_query(request);
    if (request.mnemonic == "QD" && request.parameters.empty())
        return answer_changed_destinations(request);
    if (request.mnemonic == "QI") return answer_routing_query(request);
    if (request.mnemonic == "TI") return answer_take(request);
    reply_code(request, UNKNOWN_REQUEST);
}
} // namespace

std::vector<addressed_message> answer_request(simulated_router& router, int client,
                                              const router_message& request)
{
    open_request open{router,
                      router.clients.at(client),
                      client,
                      std::string(mnemonic_of(request)),
                      request.parameters,
                      {}};
    if (request.protocol == 'N')
        answer_known_request(open);
    else
        reply_code(open, UNKNOWN_REQUEST);
    return std::move(open.answers);
}

router_message make_nak(std::int32_t code)
{
    router_message message;
    message.nak = true;
    message.nakerr = code;
    return message;
}

} // namespace router_simulator
