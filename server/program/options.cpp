#include "server/program/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string_view>

#include "tools/common/program.h"

namespace program {

namespace {
constexpr const char* FOOTER =
    "Without a command it serves until it is told to end (SIGTERM, Ctrl-C); SIGHUP reads its\n"
    "certificates again. The commands, each with --data DIR:\n"
    "  backup FILE  copy the database as it stands, also while the server runs\n"
    "  check        verify the database, also while the server runs\n"
    "  export FILE  write routers, salvos and people to it, as JSON, for another server:\n"
    "               no passwords, no tokens, no history\n"
    "  import FILE  add those of such a file to the folder, a new one too; where something else\n"
    "               of the same name is there already, nothing is added, and it is said what\n"
    "Export and import are for a folder that no server is using.\n"
    "\n"
    "Exit status: 0 when all went well; 1 when the arguments are wrong or it could not start;\n"
    "2 when a command could not be carried out.";

std::string beside_this_program(const char* name)
{
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    return (self.parent_path() / name).string();
}

struct command_word {
    std::string_view word;
    command means = command::serve;
    std::size_t operands = 0; // files
};

constexpr command_word COMMANDS[] = {{"backup", command::back_up, 1},
                                     {"check", command::check, 0},
                                     {"export", command::carry_out, 1},
                                     {"import", command::carry_in, 1}};

// False, with what is wrong.
bool read_command(const std::vector<std::string>& words, options& options, std::string& error)
{
    if (words.empty()) return true;
    const std::string& word = words.front();
    const auto* const found =
        std::find_if(std::begin(COMMANDS), std::end(COMMANDS),
                     [&](const command_word& each) { return each.word == word; });
    if (found == std::end(COMMANDS)) {
        error = "there is no command " + word;
        return false;
    }
    if (words.size() - 1 < found->operands)
        error = word + " needs a file";
    else if (words.size() - 1 > found->operands)
        error = "unexpected argument " + words.back();
    options.command = found->means;
    if (found->operands > 0) options.file = words.back();
    return error.empty();
}

bool fit_together(const options& options, std::string& error)
{
    if (options.demonstration && !options.data.empty())
        error = "--demo keeps nothing: --data does not go with it";
    else if (options.demonstration && !options.config.empty())
        error = "--demo has its own settings: --config does not go with it";
    else if (options.demonstration && options.command != command::serve)
        error = "--demo keeps nothing that a command could work on";
    else if (!options.demonstration && options.data.empty())
        error = "--data DIR is needed: where the server keeps everything; or --demo to try it";
    else if (!options.config.empty() && options.command != command::serve)
        error = "--config is for the server, not for a command";
    else if (options.port && options.command != command::serve)
        error = "--port is for the server, not for a command";
    return error.empty();
}
} // namespace

std::optional<int> read_options(int argument_count, const char* const* arguments, options& options,
                                std::ostream& output, std::ostream& errors)
{
    CLI::App app("Serves video routers to people, panels and automation.", "router_control");
    options.backend = beside_this_program("routing_switcher_backend");
    options.simulator = beside_this_program("router_simulator");
    app.add_option("--data", options.data, "the folder where everything is kept; made when new")
        ->type_name("DIR");
    app.add_option("--config", options.config,
                   "settings of this machine: addresses, TLS, how long history is kept")
        ->type_name("FILE");
    app.add_option("--port", options.port,
                   "listen on this port, whatever the settings say; 0: one that is free")
        ->type_name("N")
        ->check(CLI::Range(0, 65535).description(""));
    app.add_flag("--demo", options.demonstration,
                 "two simulated routers, nobody signs in, nothing is kept");
    app.add_option("--backend", options.backend, "the backend's program; default: beside this one")
        ->type_name("PATH");
    app.prefix_command();
    app.footer(FOOTER);
    if (const auto status = common::parse_arguments(app, argument_count, arguments, output, errors))
        return status;
    std::string error;
    if (read_command(app.remaining(), options, error) && fit_together(options, error))
        return std::nullopt;
    return common::refuse_arguments(error, errors);
}

} // namespace program
