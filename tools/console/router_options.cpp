#include "console/router_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <arpa/inet.h>
#include <netinet/in.h>

#include "console/router_file.h"
#include "console/safe_text.h"
#include "tools/common/numbers.h"
#include "tools/common/program.h"

namespace console {

namespace {
constexpr double LONGEST_WAIT_S = 86'400;

constexpr const char* FOOTER =
    "Without words, commands come from the keyboard, or from standard input when this is no\n"
    "terminal; \"help\" lists them. With words, which stand behind the options, these are the one\n"
    "command that is run: router_console --router main=10.0.0.5 take \"MON A\" \"CAM 3\"\n"
    "\n"
    "Exit status of a script or a command: 0 when all was done and confirmed; 1 when something\n"
    "was not understood, or the console could not start; 2 when something was refused or not\n"
    "confirmed, or the output could not be written; 3 when the router could not be reached.";

bool is_ipv4(const std::string& text)
{
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

// NAME=ADDRESS[:PORT]. False, with what is wrong.
bool read_router(const std::string& text, desk::router_settings& router, std::string& error)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        error = "--router " + text + ": NAME=ADDRESS[:PORT] expected";
        return false;
    }
    const std::size_t colon = text.find(':', equals);
    router.name = text.substr(0, equals);
    router.id = router_id(router.name);
    router.address = text.substr(equals + 1, colon - equals - 1);
    if (!is_ipv4(router.address)) {
        error = "--router " + text + ": \"" + router.address +
                "\" is no IPv4 address (four numbers with dots)";
        return false;
    }
    if (colon == std::string::npos) return true;
    const std::string port = text.substr(colon + 1);
    if (common::read_decimal(port, router.port) && router.port >= 1 && router.port <= 65535)
        return true;
    error = "--router " + text + ": the port \"" + port + "\" is no number from 1 to 65535";
    return false;
}

struct router_texts {
    std::vector<std::string> files;
    std::vector<std::string> routers;
    int first_number = 1;
};

bool add_router(console_options& options, desk::router_settings router, int first_number,
                std::string& error)
{
    const auto same = std::find_if(options.routers.begin(), options.routers.end(),
                                   [&](const auto& each) { return each.id == router.id; });
    if (same != options.routers.end()) {
        error = "two routers are named " + router.name;
        return false;
    }
    router.first_number = first_number;
    options.routers.push_back(std::move(router));
    return true;
}

bool add_routers(console_options& options, const router_texts& texts,
                 std::vector<std::string>& warnings, std::string& error)
{
    for (const std::string& path : texts.files) {
        desk::router_settings router;
        if (!read_router_file(path, router, warnings, error) ||
            !add_router(options, router, texts.first_number, error))
            return false;
    }
    for (const std::string& text : texts.routers) {
        desk::router_settings router;
        if (!read_router(text, router, error) ||
            !add_router(options, router, texts.first_number, error))
            return false;
    }
    if (!options.routers.empty()) return true;
    error = "no router is given: --router NAME=ADDRESS[:PORT] or --file PATH is needed";
    return false;
}

bool check_person(const std::string& person, std::string& error)
{
    if (person.find_first_not_of(" \t") != std::string::npos) return true;
    error = "--person: a name is needed";
    return false;
}

void add_options(CLI::App& app, console_options& options, router_texts& texts, double& wait_s)
{
    app.add_option("--router", texts.routers, "a router; may be given several times")
        ->type_name("NAME=ADDRESS[:PORT]")
        ->allow_extra_args(false);
    app.add_option("--file", texts.files, "a router as a backend's configuration file has it; too")
        ->type_name("PATH")
        ->allow_extra_args(false);
    app.add_option("--first-number", texts.first_number, "the number of the first position")
        ->type_name("0|1")
        ->check(CLI::Range(0, 1).description(""))
        ->capture_default_str();
    app.add_option("--wait-ready", wait_s, "how long scripts and commands wait for the router")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, LONGEST_WAIT_S).description(""))
        ->capture_default_str();
    app.add_flag("--json", options.json, "print one JSON object a line");
    app.add_option("--data", options.data, "keep salvos, locks, labels and undo in this file")
        ->type_name("FILE");
    app.add_option("--person", options.person, "who works here; default: the login name")
        ->type_name("NAME");
    app.add_option("--backend", options.backend, "the backend's program; default: beside this one")
        ->type_name("PATH");
}
} // namespace

std::optional<int> read_options(int argument_count, const char* const* arguments,
                                console_options& options, std::ostream& output,
                                std::ostream& errors)
{
    CLI::App app("A console for video routers.", "router_console");
    router_texts texts;
    double wait_s = std::chrono::duration<double>(options.wait_ready).count();
    add_options(app, options, texts, wait_s);
    app.prefix_command();
    app.footer(FOOTER);
    if (const auto status = common::parse_arguments(app, argument_count, arguments, output, errors))
        return status;
    options.words = app.remaining();
    options.wait_ready =
        std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(wait_s));
    std::vector<std::string> warnings;
    std::string error;
    const bool good =
        check_person(options.person, error) && add_routers(options, texts, warnings, error);
    for (const std::string& warning : warnings)
        errors << "Warning: " << safe_text(warning) << "\n";
    if (good) return std::nullopt;
    return common::refuse_arguments(safe_text(error), errors);
}

} // namespace console
