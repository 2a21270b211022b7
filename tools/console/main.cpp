// A terminal for a person, on top of a backend that it starts.
#include <CLI/CLI.hpp>
#include <clocale>
#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "console/script.h"
#include "console/session.h"
#include "console/terminal.h"
#include "tools/common/program.h"

using namespace console;

namespace {
constexpr const char* FOOTER =
    "Exit status: 0 when all went well; 1 when it could not start; 2 when a script's route was "
    "not\n"
    "confirmed or a command of it was refused; 3 when the backend ended by itself.\n"
    "Without a terminal, commands are read from standard input; \"help\" lists them.";

std::string backend_beside_console()
{
    std::error_code error;
    const std::filesystem::path console = std::filesystem::read_symlink("/proc/self/exe", error);
    return (console.parent_path() / "routing_switcher_backend").string();
}

void print_plain(const std::string& text)
{
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

// Characters are UTF-8 also where the environment says nothing.
void choose_characters()
{
    const char* const chosen = std::setlocale(LC_CTYPE, "");
    if (chosen == nullptr || std::string(chosen) == "C") std::setlocale(LC_CTYPE, "C.UTF-8");
}

int run(const std::string& backend, const std::string& config_path)
{
    console_session session;
    session.print = print_plain;
    if (!start_session(session, backend, config_path)) return EXIT_NOT_STARTED;
    const bool terminal = isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
    if (terminal)
        run_terminal(session);
    else
        run_script(session);
    session.print = print_plain;
    const int status = close_session(session);
    if (status != EXIT_GOOD || terminal) return status;
    return session.unconfirmed || session.refused ? EXIT_NOT_CONFIRMED : EXIT_GOOD;
}

int run_program(int argument_count, const char* const* arguments)
{
    CLI::App app("A console for a video router, by way of the routing switcher backend.",
                 "router_console");
    std::string config_path;
    std::string backend = backend_beside_console();
    app.add_option("--file", config_path, "configuration file of the backend")
        ->required()
        ->type_name("PATH");
    app.add_option("--backend", backend, "the backend's program; default: beside this one")
        ->type_name("PATH");
    app.footer(FOOTER);
    if (const auto status = common::parse_arguments(app, argument_count, arguments)) return *status;
    return run(backend, config_path);
}
} // namespace

int main(int argument_count, char** arguments)
{
    choose_characters();
    return common::run_main(run_program, argument_count, arguments);
}
