// The simulated router itself: what it has, what is routed where, and what each of its clients has
// still to be told. Plain state without any input or output.
//
// Sources and destinations are held by position, from 0; on the wire and towards people each goes
// by its index, which is its position plus the base of its kind.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "router_link/message.h"

namespace router_simulator {

constexpr std::uint32_t SOURCE_NAMES_FLAG = 0x10;
constexpr std::uint32_t DESTINATION_NAMES_FLAG = 0x04;

// In place of a source's position; the index before the first one on the wire.
constexpr std::size_t NO_SOURCE = SIZE_MAX;

// How the messages of one reply are marked as not being its last: all "1", or "1" to "9" in turn.
// The last is always "0".
enum class sequence_style { ones, counting };

struct router_options {
    std::size_t sources = 32;
    std::size_t destinations = 32;
    std::size_t levels = 1;
    std::uint32_t source_base = 1;
    std::uint32_t destination_base = 1;
    std::string model = "Simulated router";
    std::string title = "Router simulator 1.0";
    std::string revision = "r1";
    std::size_t entries_per_answer = 16; // names in one message, fewer when they do not fit
    sequence_style sequence = sequence_style::ones;
    bool announce = false; // every route change is sent to every client
};

struct port_list {
    std::uint32_t base = 0;
    std::vector<std::string> names; // one per position
};

// What the router remembers for one client, from its connection to its end.
struct client_view {
    bool confirms_commands = false;               // whether commands without data are answered
    std::uint32_t flags = 0;                      // names that have changed
    std::set<std::size_t> changed_destinations{}; // positions
};

// Positions.
struct made_take {
    std::size_t destination = 0;
    std::size_t source = 0;
};

struct simulated_router {
    router_options options;
    port_list sources;
    port_list destinations;
    std::vector<std::string> levels;
    std::vector<std::size_t> routes; // source position per destination position; 0 without sources
    std::set<std::size_t> locked;    // destinations whose routes the takes of clients do not change
    // The error code that answers a client's take of this destination and source.
    std::map<std::pair<std::size_t, std::size_t>, std::string> refused;
    std::map<int, client_view> clients; // by client number
    std::vector<made_take> takes;       // not told to people yet; whoever tells empties it
};

// A message and the client it is for.
struct addressed_message {
    int client = 0;
    router_message message;
};

// A router with generated names and each destination on the source of its own position, starting
// over where there are fewer sources.
simulated_router make_router(const router_options& options);

std::optional<std::size_t> position_of(const port_list& ports, std::uint64_t index);
std::uint32_t index_of(const port_list& ports, std::size_t position);

// "4 CAM 4", or "4" where there is no name.
std::string port_text(const port_list& ports, std::size_t position);

// The routing status ("IQ") of a destination on one level.
router_message routing_status(const simulated_router& router, std::size_t destination,
                              std::uint32_t level);

// "17 MON B <- 4 CAM 4", or "17 MON B <- none".
std::string route_text(const simulated_router& router, std::size_t destination);

// Routes the source, or NO_SOURCE, to the destination, which counts as changed for every client
// even when the source was there already. Returns the announcements, none unless the router makes
// them.
std::vector<addressed_message> take_route(simulated_router& router, std::size_t destination,
                                          std::size_t source);

// The name must be an acceptable one; an empty one is of a port without a name. Every client's flag
// for this kind is set.
void rename_source(simulated_router& router, std::size_t position, const std::string& name);
void rename_destination(simulated_router& router, std::size_t position, const std::string& name);

// An index as the router writes it: upper-case hexadecimal of at least four digits.
std::string wire_index(std::uint32_t index);

} // namespace router_simulator
