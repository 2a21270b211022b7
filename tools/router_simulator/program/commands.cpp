#include "router_simulator/program/commands.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <iomanip>
#include <sstream>
#include <utility>

#include "router_simulator/router/names.h"
#include "router_simulator/scenario/connection_faults.h"
#include "router_simulator/wire/trace.h"

namespace router_simulator {

const char* const COMMAND_HELP =
    "  take DESTINATION SOURCE              route a source to a destination\n"
    "  rename source INDEX NAME             give a source another name\n"
    "  rename destination INDEX NAME        give a destination another name\n"
    "  do NAME                              do the steps of this name of the scenario\n"
    "  drop                                 close the connections of all clients\n"
    "  routes                               show what is routed where\n"
    "  clients                              show who is connected\n"
    "  help                                 show this\n"
    "DESTINATION, SOURCE and INDEX are decimal router indexes, as \"routes\" shows them, or "
    "names;\n"
    "a name with blanks stands in double quotes.\n";

namespace {
// Words are separated by blanks; one in double quotes may hold blanks, and \" and \\ within.
std::vector<std::string> words_of(const std::string& line)
{
    std::istringstream stream(line);
    std::vector<std::string> words;
    std::string word;
    while (stream >> std::quoted(word))
        words.push_back(word);
    return words;
}

bool all_digits(const std::string& text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char character) {
        return std::isdigit(character) != 0;
    });
}

// The port that the word names, by index or by name. Without one, the reason is in `fault`.
std::optional<std::size_t> find_port(const port_list& ports, const char* kind,
                                     const std::string& word, std::string& fault)
{
    fault = std::string("No ") + kind + " " + quoted_text(word) + ".\n";
    if (all_digits(word)) {
        std::uint64_t index = 0;
        const auto result = std::from_chars(word.data(), word.data() + word.size(), index);
        if (result.ec != std::errc()) return std::nullopt;
        return position_of(ports, index);
    }
    const auto found = std::find(ports.names.begin(), ports.names.end(), word);
    if (found == ports.names.end()) return std::nullopt;
    if (std::find(found + 1, ports.names.end(), word) != ports.names.end()) {
        fault = std::string("More than one ") + kind + " is named " + quoted_text(word) +
                ", use the index.\n";
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - ports.names.begin());
}

std::string run_take(simulator_server& server, const std::vector<std::string>& words)
{
    if (words.size() != 3) return "Usage: take DESTINATION SOURCE\n";
    simulated_router& router = server.router;
    std::string fault;
    const auto destination = find_port(router.destinations, "destination", words[1], fault);
    if (!destination) return fault;
    const auto source = find_port(router.sources, "source", words[2], fault);
    if (!source) return fault;
    const std::vector<addressed_message> told = take_route(router, *destination, *source);
    print_takes(server, "command");
    send_messages(server, told);
    return route_text(router, *destination) + "\n";
}

std::string run_rename(simulator_server& server, const std::vector<std::string>& words)
{
    if (words.size() < 4 || (words[1] != "source" && words[1] != "destination"))
        return "Usage: rename source|destination INDEX NAME\n";
    const bool is_source = words[1] == "source";
    const port_list& ports = is_source ? server.router.sources : server.router.destinations;
    std::string fault;
    const auto position = find_port(ports, words[1].c_str(), words[2], fault);
    if (!position) return fault;
    std::string name = words[3];
    for (std::size_t i = 4; i < words.size(); ++i)
        name += " " + words[i];
    fault = name_error(name);
    if (!fault.empty()) return "The name " + fault + ".\n";
    (is_source ? rename_source : rename_destination)(server.router, *position, name);
    print_rename(server, is_source, *position);
    return words[1] + " " + port_text(ports, *position) + "\n";
}

std::string routes_text(const simulated_router& router)
{
    if (router.routes.empty()) return "There are no destinations.\n";
    std::string text;
    for (std::size_t i = 0; i < router.routes.size(); ++i)
        text += route_text(router, i) + "\n";
    return text;
}

std::string clients_text(const simulator_server& server)
{
    if (server.links.empty()) return "No client is connected.\n";
    std::string text;
    for (const auto& [number, link] : server.links)
        text += "client " + std::to_string(number) + " from " + link.peer + "\n";
    return text;
}

std::string run_drop(simulator_server& server)
{
    if (server.links.empty()) return "No client is connected.\n";
    drop_clients(server);
    return "";
}
} // namespace

std::string run_command(simulator_server& server, const std::string& line)
{
    const std::vector<std::string> words = words_of(line);
    if (words.empty()) return "";
    const std::string& command = words[0];
    if (command == "take") return run_take(server, words);
    if (command == "rename") return run_rename(server, words);
    if (command == "do" && words.size() == 2) return do_named_faults(server, words[1]);
    if (command == "do") return "Usage: do NAME\n";
    if (command == "drop") return run_drop(server);
    if (command == "routes") return routes_text(server.router);
    if (command == "clients") return clients_text(server);
    if (command == "help") return COMMAND_HELP;
    return "Unknown command " + quoted_text(command) + ", try help.\n";
}

} // namespace router_simulator
