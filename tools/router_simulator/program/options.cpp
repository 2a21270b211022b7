#include "router_simulator/program/options.h"

#include <CLI/CLI.hpp>

#include "router_simulator/program/commands.h"
#include "router_simulator/router/names.h"
#include "router_simulator/scenario/fault_table.h"
#include "tools/common/program.h"

namespace router_simulator {

namespace {
constexpr std::size_t MAX_PORTS = 1024; // sources or destinations
constexpr std::size_t MAX_LEVELS = 32;  // bits of a level mask
constexpr std::uint32_t MAX_BASE = 65535;
constexpr int MAX_RECEIVE_BUFFER = 1'000'000'000;
constexpr std::size_t MAX_IDENTITY_LENGTH = 200; // in one message with room to spare

// The help shows the name and the default of a value; its range stands in the description.
template <typename Number>
void add_number(CLI::App& app, const char* name, Number& number, Number least, Number most,
                const std::string& description)
{
    app.add_option(name, number,
                   description + ", " + std::to_string(least) + " to " + std::to_string(most))
        ->check(CLI::Range(least, most).description(""))
        ->type_name("N")
        ->capture_default_str();
}

void add_network_options(CLI::App& app, simulator_options& options)
{
    app.add_option("--listen", options.listen, "IPv4 address to listen on")
        ->check(CLI::Validator(CLI::ValidIPV4).description(""))
        ->type_name("ADDRESS")
        ->capture_default_str();
    add_number<std::uint16_t>(app, "--port", options.port, 0, UINT16_MAX,
                              "TCP port to listen on, 0 for any free one");
    app.add_option("--receive-buffer", options.receive_buffer,
                   "most bytes of a client that wait unread in its socket, doubled by the system; "
                   "0: as the system has it")
        ->check(CLI::Range(0, MAX_RECEIVE_BUFFER).description(""))
        ->type_name("N")
        ->capture_default_str();
}

void add_event_options(CLI::App& app, simulator_options& options)
{
    app.add_flag("--trace", options.trace,
                 "print every frame: seconds, client, > received or < sent, message");
    app.add_option_function<std::string>(
           "--events",
           [&options](const std::string& word) {
               if (word != "text" && word != "json")
                   throw CLI::ValidationError("--events", "text or json expected");
               options.json_events = word == "json";
           },
           "json: every event is a line of JSON, beside the text that is printed anyway")
        ->type_name("text|json")
        ->default_str("text");
}

void add_size_options(CLI::App& app, router_options& router)
{
    add_number<std::size_t>(app, "--sources", router.sources, 0, MAX_PORTS, "number of sources");
    add_number<std::size_t>(app, "--destinations", router.destinations, 0, MAX_PORTS,
                            "number of destinations");
    add_number<std::size_t>(app, "--levels", router.levels, 0, MAX_LEVELS, "number of levels");
    add_number<std::uint32_t>(app, "--source-base", router.source_base, 0, MAX_BASE,
                              "index of the first source");
    add_number<std::uint32_t>(app, "--destination-base", router.destination_base, 0, MAX_BASE,
                              "index of the first destination, better not 0");
}

void add_identity(CLI::App& app, const char* name, std::string& text, const char* description)
{
    app.add_option(name, text, description)
        ->check(CLI::Validator(
            [](const std::string& identity) {
                std::string error;
                return check_text(identity, MAX_IDENTITY_LENGTH, error) ? "" : "the text " + error;
            },
            ""))
        ->type_name("TEXT")
        ->capture_default_str();
}

void add_text_options(CLI::App& app, simulator_options& options)
{
    app.add_option("--names", options.names_file,
                   "CSV file of names, a line each: source|destination|level,index,name")
        ->type_name("FILE");
    add_identity(app, "--model", options.router.model, "device name");
    add_identity(app, "--title", options.router.title, "software title with version");
    add_identity(app, "--revision", options.router.revision, "software revision");
}

void add_scenario_options(CLI::App& app, simulator_options& options)
{
    CLI::Option* const scenario = app.add_option("--scenario", options.scenario_file,
                                                 "JSON file of what goes wrong, and when");
    scenario->type_name("FILE");
    app.add_option("--seed", options.seed,
                   "what the scenario's draws start from, in place of its own")
        ->type_name("N")
        ->needs(scenario);
}

void add_manner_options(CLI::App& app, router_options& router)
{
    add_number<std::size_t>(app, "--entries-per-answer", router.entries_per_answer, 1, MAX_PORTS,
                            "most names in one message, fewer where they are long");
    app.add_option_function<std::string>(
           "--sequence",
           [&router](const std::string& word) {
               if (word != "ones" && word != "counting")
                   throw CLI::ValidationError("--sequence", "ones or counting expected");
               router.sequence = word == "ones" ? sequence_style::ones : sequence_style::counting;
           },
           "sequence bytes of a reply in several messages: 1 1 0 or 1 2 0")
        ->type_name("ones|counting")
        ->default_str("ones");
    app.add_flag("--announce", router.announce, "send every route change to every client");
}
} // namespace

std::optional<int> parse_options(int argument_count, const char* const* arguments,
                                 simulator_options& options, std::ostream& output,
                                 std::ostream& errors)
{
    CLI::App app("A simulated video router that speaks the Grass Valley Native Protocol over TCP.",
                 "router_simulator");
    add_network_options(app, options);
    add_size_options(app, options.router);
    add_text_options(app, options);
    add_manner_options(app, options.router);
    add_scenario_options(app, options);
    add_event_options(app, options);
    app.footer(std::string("Commands on standard input:\n") + COMMAND_HELP + fault_help() +
               "The backend's status queries count destinations from 1. With a base of 0 the first "
               "output\nstays unknown to it, and it sees the takes of others late.\n"
               "SIGINT and SIGTERM end the program; the end of standard input does not.\n"
               "Exit status: 0 when it was ended; 1 when it could not start.");
    return common::parse_arguments(app, argument_count, arguments, output, errors);
}

} // namespace router_simulator
