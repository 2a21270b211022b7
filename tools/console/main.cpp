// A terminal for a person, on a desk of routers.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "console/script.h"
#include "console/session.h"
#include "server/desk/setup.h"
#include "server/desk/start.h"
#include "tools/common/numbers.h"
#include "tools/common/program.h"

using namespace console;

namespace {
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

desk::router_settings read_router(const std::string& text)
{
    desk::router_settings settings;
    const std::size_t equals = text.find('=');
    const std::size_t colon = text.find(':', equals);
    settings.id.assign(text, 0, equals);
    settings.name = settings.id;
    settings.address.assign(text, equals + 1, colon - equals - 1);
    common::read_decimal(std::string_view(text).substr(colon + 1), settings.port);
    return settings;
}

int run_program(int argument_count, const char* const* arguments)
{
    CLI::App app("A console for video routers.", "router_console");
    std::vector<std::string> routers;
    std::string backend = backend_beside_console();
    app.add_option("--router", routers, "a router")->type_name("NAME=ADDRESS[:PORT]");
    app.add_option("--backend", backend, "the backend's program; default: beside this one")
        ->type_name("PATH");
    if (const auto status = common::parse_arguments(app, argument_count, arguments)) return *status;
    console_session session;
    session.print = print_plain;
    console_state& console = session.console;
    console.desk = desk::make_desk(std::random_device()());
    console.person = {"operator", "console", {desk::right::administer, {}, {}}};
    std::string folder = "/tmp/router_console.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) return 1;
    console.running.program = backend;
    console.running.folder = folder;
    for (const std::string& text : routers) {
        const desk::router_settings settings = read_router(text);
        const auto wrong = desk::set_router(console.desk, now(), console.person, settings);
        if (wrong.why != desk::reason::none) return std::puts(wrong.detail.c_str()), 1;
        if (console.router.empty()) console.router = settings.id;
    }
    wait_until_ready(session, console.router, std::chrono::seconds(10));
    run_script(session);
    close_session(session);
    std::filesystem::remove_all(folder);
    return session.worst == verdict::done ? 0 : 2;
}
} // namespace

int main(int argument_count, char** arguments)
{
    return common::run_main(run_program, argument_count, arguments);
}
