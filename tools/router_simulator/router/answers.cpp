#include "router_simulator/router/answers.h"

#include <algorithm>
#include <utility>

#include "common/numbers.h"

namespace router_simulator {

namespace {
// Room for the parameters of one message, their tabs included, in the encoder's 1024 bytes. Names
// are short enough for at least one entry.
constexpr std::size_t PARAMETER_ROOM = 1000;

// One request being answered.
struct request_exchange {
    simulated_router& router;
    client_view& view;
    int client;
    const std::string mnemonic;
    const std::vector<std::string>& parameters;
    std::vector<addressed_message> answers;
};

// The parameters of one entry of a name answer.
using name_entry = std::vector<std::string>;

void reply(request_exchange& exchange, router_message message)
{
    exchange.answers.push_back({exchange.client, std::move(message)});
}

void reply_code(request_exchange& exchange, const char* code)
{
    reply(exchange, make_request("ER", {code, exchange.mnemonic}));
}

void confirm(request_exchange& exchange)
{
    if (exchange.view.confirms_commands) reply_code(exchange, NO_ERROR);
}

// Sends the messages as one reply: the sequence byte of all but the last says that it goes on.
void reply_in_sequence(request_exchange& exchange, std::vector<router_message> messages)
{
    const bool counts = exchange.router.options.sequence == sequence_style::counting;
    for (std::size_t i = 0; i + 1 < messages.size(); ++i)
        messages[i].seq = static_cast<char>('1' + (counts ? i % 9 : 0));
    for (router_message& message : messages)
        reply(exchange, std::move(message));
}

std::optional<std::uint32_t> hexadecimal(const std::string& text)
{
    std::uint64_t value = 0;
    for (const char character : text) {
        const int digit = hex_digit_value(character);
        if (digit < 0) return std::nullopt;
        value = value * 16 + static_cast<std::uint64_t>(digit);
        if (value > UINT32_MAX) return std::nullopt;
    }
    if (text.empty()) return std::nullopt;
    return static_cast<std::uint32_t>(value);
}

void reply_identity(request_exchange& exchange, const std::string& text)
{
    reply(exchange, make_request("KB", {exchange.parameters[0], text}));
}

void clear_flags(request_exchange& exchange)
{
    const auto flags =
        exchange.parameters.size() == 2 ? hexadecimal(exchange.parameters[1]) : std::nullopt;
    if (!flags) return reply_code(exchange, BAD_PARAMETERS);
    exchange.view.flags &= ~*flags;
    confirm(exchange);
}

void switch_confirmation(request_exchange& exchange)
{
    const std::string& state = exchange.parameters.size() == 2 ? exchange.parameters[1] : "";
    if (state != "ON" && state != "OFF") return reply_code(exchange, BAD_PARAMETERS);
    exchange.view.confirms_commands = state == "ON";
    confirm(exchange);
}

void answer_background(request_exchange& exchange)
{
    if (exchange.parameters.empty()) return confirm(exchange);
    const router_options& options = exchange.router.options;
    const std::string& kind = exchange.parameters[0];
    if (kind == "N") return reply_identity(exchange, options.model);
    if (kind == "R") return reply_identity(exchange, options.revision);
    if (kind == "T") return reply_identity(exchange, options.title);
    if (kind == "F") return reply_identity(exchange, upper_hex(exchange.view.flags));
    if (kind == "f") return clear_flags(exchange);
    if (kind == "E") return switch_confirmation(exchange);
    if (kind == "D") exchange.view.changed_destinations.clear();
    if (kind == "D" || kind == "I" || kind == "A") return confirm(exchange);
    reply_code(exchange, BAD_PARAMETERS);
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
void reply_names(request_exchange& exchange, const char* kind,
                 const std::vector<name_entry>& entries)
{
    const std::size_t limit = exchange.router.options.entries_per_answer;
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
    reply_in_sequence(exchange, std::move(messages));
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

void answer_name_query(request_exchange& exchange)
{
    const std::string kind = exchange.parameters.size() == 1 ? exchange.parameters[0] : "";
    const simulated_router& router = exchange.router;
    if (kind == "L") return reply_names(exchange, "L", level_entries(router.levels));
    if (kind == "IS") return reply_names(exchange, "S", port_entries(router.sources));
    if (kind == "ID") return reply_names(exchange, "D", port_entries(router.destinations));
    reply_code(exchange, BAD_PARAMETERS);
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

void answer_changed_destinations(request_exchange& exchange)
{
    std::vector<router_message> messages;
    for (const std::size_t destination : std::exchange(exchange.view.changed_destinations, {}))
        messages.push_back(changed_destination(exchange.router, destination));
    if (messages.empty()) return reply_code(exchange, NO_ERROR);
    reply_in_sequence(exchange, std::move(messages));
}

// The two numbers of a request about a destination. Without the second it counts as 0.
bool read_numbers(const request_exchange& exchange, std::size_t needed, std::uint32_t& first,
                  std::uint32_t& second)
{
    const std::vector<std::string>& parameters = exchange.parameters;
    if (parameters.size() < needed || parameters.size() > 2) return false;
    const auto one = hexadecimal(parameters[0]);
    const auto two = parameters.size() == 2 ? hexadecimal(parameters[1]) : 0;
    first = one.value_or(0);
    second = two.value_or(0);
    return one && two;
}

void answer_routing_query(request_exchange& exchange)
{
    std::uint32_t index = 0;
    std::uint32_t level = 0;
    if (!read_numbers(exchange, 1, index, level)) return reply_code(exchange, BAD_PARAMETERS);
    const simulated_router& router = exchange.router;
    const auto destination = position_of(router.destinations, index);
    if (!destination) return reply_code(exchange, NO_SUCH_DESTINATION);
    // A router without named levels still has one to route on.
    if (level != 0 && level >= router.levels.size()) return reply_code(exchange, NO_SUCH_LEVEL);
    reply(exchange, routing_status(router, *destination, level));
}

void answer_take(request_exchange& exchange)
{
    std::uint32_t destination_index = 0;
    std::uint32_t source_index = 0;
    if (!read_numbers(exchange, 2, destination_index, source_index))
        return reply_code(exchange, BAD_PARAMETERS);
    simulated_router& router = exchange.router;
    const auto destination = position_of(router.destinations, destination_index);
    const auto source = position_of(router.sources, source_index);
    if (!destination) return reply_code(exchange, NO_SUCH_DESTINATION);
    if (!source) return reply_code(exchange, NO_SUCH_SOURCE);
    confirm(exchange);
    for (addressed_message& announcement : take_route(router, *destination, *source))
        exchange.answers.push_back(std::move(announcement));
}

void answer_request(request_exchange& exchange)
{
    if (exchange.mnemonic == "BK") return answer_background(exchange);
    if (exchange.mnemonic == "QN") return answer_name_query(exchange);
    if (exchange.mnemonic == "QD" && exchange.parameters.empty())
        return answer_changed_destinations(exchange);
    if (exchange.mnemonic == "QI") return answer_routing_query(exchange);
    if (exchange.mnemonic == "TI") return answer_take(exchange);
    reply_code(exchange, UNKNOWN_REQUEST);
}
} // namespace

std::vector<addressed_message> answer_frame(simulated_router& router, int client,
                                            const parsed_frame& frame)
{
    if (frame.error != frame_error::none) {
        router_message rejection;
        rejection.nak = true;
        rejection.nakerr = static_cast<std::int32_t>(frame.error);
        return {{client, rejection}};
    }
    request_exchange exchange{router,
                              router.clients.at(client),
                              client,
                              std::string(mnemonic_of(frame.request)),
                              frame.request.parameters,
                              {}};
    if (frame.request.protocol == 'N') {
        answer_request(exchange);
    } else {
        reply_code(exchange, UNKNOWN_REQUEST);
    }
    return std::move(exchange.answers);
}

} // namespace router_simulator
