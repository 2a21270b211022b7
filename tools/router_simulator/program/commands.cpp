#include "router_simulator/program/commands.h"

#include <algorithm>
#include <utility>

#include "router_simulator/router/names.h"
#include "router_simulator/scenario/player.h"
#include "router_simulator/wire/trace.h"
#include "tools/common/numbers.h"
#include "tools/common/words.h"

namespace router_simulator {

const char* const COMMAND_HELP =
    "  take DESTINATION SOURCE         route a source to a destination; none disconnects it\n"
    "  rename source INDEX NAME        give a source another name, \"\" for none\n"
    "  rename destination INDEX NAME   give a destination another name\n"
    "  lock DESTINATION                answer clients' takes to it as ever, and keep its route\n"
    "  unlock DESTINATION              end that\n"
    "  refuse DESTINATION SOURCE CODE  answer clients' takes of this crosspoint by an error\n"
    "  allow DESTINATION SOURCE        end that\n"
    "  do NAME                         do the steps of this name of the scenario\n"
    "  on NAME                         from now on do them whenever they come up\n"
    "  off NAME                        end that; what has begun goes on\n"
    "  drop                            close the connections of all clients\n"
    "  routes                          show what is routed where\n"
    "  clients                         show who is connected\n"
    "  help                            show this\n"
    "  quit                            end the simulator\n"
    "DESTINATION, SOURCE and INDEX are decimal router indexes, as \"routes\" shows them, or names\n"
    "in letters of either case; a name with blanks stands in single or double quotes. CODE is two\n"
    "hexadecimal digits. A semicolon separates commands.\n";

namespace {
using command_words = std::vector<common::word>;

// The port that the word names, by index or by name. Without one, the reason is in `error`.
std::optional<std::size_t> find_port(const port_list& ports, const char* kind,
                                     const common::word& word, std::string& error)
{
    error = std::string("No ") + kind + " " + quoted_text(word.text) + ".\n";
    if (!word.quoted && common::is_number(word.text)) {
        std::uint64_t index = 0;
        return common::read_decimal(word.text, index) ? position_of(ports, index) : std::nullopt;
    }
    std::vector<std::size_t> exact;
    std::vector<std::size_t> similar;
    for (std::size_t i = 0; i < ports.names.size(); ++i) {
        if (ports.names[i] == word.text) exact.push_back(i);
        if (common::same_name(ports.names[i], word.text)) similar.push_back(i);
    }
    const std::vector<std::size_t>& found = exact.empty() ? similar : exact;
    if (found.size() == 1) return found.front();
    if (found.size() > 1)
        error = std::string("More than one ") + kind + " is named " + quoted_text(word.text) +
                ", use the index.\n";
    return std::nullopt;
}

std::string run_take(simulator& simulated, const command_words& words)
{
    if (words.size() != 3) return "Usage: take DESTINATION SOURCE|none\n";
    simulator_server& server = simulated.server;
    simulated_router& router = server.router;
    std::string error;
    const auto destination = find_port(router.destinations, "destination", words[1], error);
    if (!destination) return error;
    const bool disconnects = !words[2].quoted && common::same_name(words[2].text, "none");
    const auto source =
        disconnects ? NO_SOURCE : find_port(router.sources, "source", words[2], error);
    if (!source) return error;
    const std::vector<addressed_message> announcements = take_route(router, *destination, *source);
    print_takes(server, "command");
    send_messages(server, announcements);
    return "";
}

std::string run_rename(simulator& simulated, const command_words& words)
{
    if (words.size() < 4 || (words[1].text != "source" && words[1].text != "destination"))
        return "Usage: rename source|destination INDEX NAME\n";
    simulated_router& router = simulated.server.router;
    const bool is_source = words[1].text == "source";
    const port_list& ports = is_source ? router.sources : router.destinations;
    std::string error;
    const auto position = find_port(ports, words[1].text.c_str(), words[2], error);
    if (!position) return error;
    std::string name = words[3].text;
    for (std::size_t i = 4; i < words.size(); ++i)
        name += " " + words[i].text;
    if (!check_name(name, error)) return "The name " + error + ".\n";
    (is_source ? rename_source : rename_destination)(router, *position, name);
    print_rename(simulated.server, is_source, *position);
    return words[1].text + " " + port_text(ports, *position) + "\n";
}

// "lock" and "unlock".
std::string run_lock(simulator& simulated, const command_words& words)
{
    const std::string& command = words[0].text;
    if (words.size() != 2) return "Usage: " + command + " DESTINATION\n";
    simulated_router& router = simulated.server.router;
    std::string error;
    const auto destination = find_port(router.destinations, "destination", words[1], error);
    if (!destination) return error;
    if (command == "lock")
        router.locked.insert(*destination);
    else
        router.locked.erase(*destination);
    print_right(simulated.server, command == "lock" ? "lock" : "unlock", *destination, {},
                "command");
    return command + "ed " + port_text(router.destinations, *destination) + "\n";
}

// "refuse", which has a code, and "allow".
std::string run_refuse(simulator& simulated, const command_words& words)
{
    const bool refuses = words[0].text == "refuse";
    std::uint8_t code = 0;
    if (words.size() != (refuses ? 4 : 3) ||
        (refuses && (words[3].text.size() != 2 || !common::read_hexadecimal(words[3].text, code))))
        return refuses ? "Usage: refuse DESTINATION SOURCE CODE\n"
                       : "Usage: allow DESTINATION SOURCE\n";
    simulated_router& router = simulated.server.router;
    std::string error;
    const auto destination = find_port(router.destinations, "destination", words[1], error);
    if (!destination) return error;
    const auto source = find_port(router.sources, "source", words[2], error);
    if (!source) return error;
    if (refuses)
        router.refused[{*destination, *source}] = words[3].text;
    else
        router.refused.erase({*destination, *source});
    print_right(simulated.server, refuses ? "refuse take" : "allow take", *destination, *source,
                "command");
    return std::string(refuses ? "refused" : "allowed") + ": " +
           port_text(router.destinations, *destination) + " <- " +
           port_text(router.sources, *source) + "\n";
}

std::string run_do(simulator& simulated, const command_words& words)
{
    if (words.size() != 2) return "Usage: do NAME\n";
    std::string error;
    return do_named_steps(simulated, words[1].text, error) ? "" : error + "\n";
}

// "on" and "off".
std::string run_switch(simulator& simulated, const command_words& words)
{
    if (words.size() != 2) return "Usage: " + words[0].text + " NAME\n";
    std::string error;
    const bool off = words[0].text == "off";
    return switch_named_steps(simulated, words[1].text, off, error) ? "" : error + "\n";
}

std::string routes_text(const simulated_router& router)
{
    if (router.routes.empty()) return "There are no destinations.\n";
    std::string text;
    for (std::size_t i = 0; i < router.routes.size(); ++i)
        text += route_text(router, i) + (router.locked.contains(i) ? " (locked)\n" : "\n");
    return text;
}

std::string clients_text(const simulator_server& server)
{
    if (server.clients.empty()) return "No client is connected.\n";
    std::string text;
    for (const auto& [number, client] : server.clients)
        text += client_text(number) + " from " + client.peer + "\n";
    return text;
}

std::string run_words(simulator& simulated, const command_words& words)
{
    simulator_server& server = simulated.server;
    const std::string& command = words[0].text;
    if (command == "take") return run_take(simulated, words);
    if (command == "rename") return run_rename(simulated, words);
    if (command == "lock" || command == "unlock") return run_lock(simulated, words);
    if (command == "refuse" || command == "allow") return run_refuse(simulated, words);
    if (command == "do") return run_do(simulated, words);
    if (command == "on" || command == "off") return run_switch(simulated, words);
    if (command == "routes") return routes_text(server.router);
    if (command == "clients") return clients_text(server);
    if (command == "help") return COMMAND_HELP;
    if (command == "drop") {
        if (server.clients.empty()) return "No client is connected.\n";
        drop_clients(server);
        return "";
    }
    if (command == "quit") {
        simulated.quit = true;
        return "";
    }
    return "Unknown command " + quoted_text(command) + ", try help.\n";
}
} // namespace

std::string run_commands(simulator& simulated, const std::string& line)
{
    const common::split_line split = common::split_words(line);
    if (split.open_quote) return "A quote is not closed.\n";
    std::string text;
    for (const command_words& words : split.commands)
        if (!simulated.quit) text += run_words(simulated, words);
    return text;
}

} // namespace router_simulator
