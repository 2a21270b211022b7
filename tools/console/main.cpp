// A terminal for a person, on a desk of routers.
#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <pwd.h>
#include <random>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "console/router_options.h"
#include "console/safe_text.h"
#include "console/script.h"
#include "console/script_output.h"
#include "console/session.h"
#include "console/terminal.h"
#include "server/desk/reports.h"
#include "server/desk/setup.h"
#include "server/desk/start.h"
#include "tools/common/descriptors.h"
#include "tools/common/program.h"

using namespace console;

namespace {
constexpr int STATUS_OF_SIGNAL = 128; // and its number, as shells say it

// A folder that nobody else can read, removed with the record.
struct private_folder {
    std::string path = (std::filesystem::temp_directory_path() / "router_console.XXXXXX").string();

    private_folder()
    {
        if (mkdtemp(path.data()) == nullptr)
            throw std::runtime_error("cannot make a folder " + path + ": " + std::strerror(errno));
    }
    private_folder(const private_folder&) = delete;
    private_folder& operator=(const private_folder&) = delete;
    ~private_folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

std::string backend_beside_console()
{
    std::error_code error;
    const std::filesystem::path console = std::filesystem::read_symlink("/proc/self/exe", error);
    return (console.parent_path() / "routing_switcher_backend").string();
}

std::string login_name()
{
    const passwd* const user = getpwuid(getuid());
    return user == nullptr ? "operator" : user->pw_name;
}

// Characters are UTF-8 also where the environment says nothing.
void choose_characters()
{
    const char* const chosen = std::setlocale(LC_CTYPE, "");
    if (chosen == nullptr || std::string(chosen) == "C") std::setlocale(LC_CTYPE, "C.UTF-8");
}

// False, with the reason, when the house that was kept cannot be read.
bool make_desk(console_session& session, const console_options& options, std::string& error)
{
    const std::uint64_t seed = std::random_device()();
    desk::house house;
    if (!options.data.empty() && !open_house(session.kept.emplace(), options.data, house, error))
        return false;
    session.console.desk = desk::make_desk(seed, std::move(house), now());
    return true;
}

// Routers of the kept house that are not asked for stay off. Of those that are, what the command
// line does not say stays as it was.
void stay_off(console_state& console, const console_options& options)
{
    for (const auto& [name, router] : console.desk.house.routers) {
        const std::string& id = router.settings.id;
        if (std::any_of(options.routers.begin(), options.routers.end(),
                        [&](const auto& each) { return each.id == id; }))
            continue;
        console.running.left_off.insert(id);
        desk::report_link(console.desk, now(), id, desk::link_state::off,
                          "the command line does not name it");
    }
}

// False, with the reason, when a router's settings are not good.
bool add_routers(console_state& console, const console_options& options, std::string& error)
{
    stay_off(console, options);
    for (desk::router_settings router : options.routers) {
        if (const desk::house_router* const kept = desk::find_router(console.desk, router.id))
            router.confirmation_limit = kept->settings.confirmation_limit;
        const desk::objection wrong = desk::set_router(console.desk, now(), console.person, router);
        if (wrong.why == desk::reason::none) continue;
        error = router.name + ": " + wrong.detail;
        return false;
    }
    console.router = options.routers.front().id;
    return true;
}

bool is_for_terminal(const console_options& options)
{
    return options.words.empty() && !options.json && isatty(STDIN_FILENO) != 0 &&
           isatty(STDOUT_FILENO) != 0;
}

void run_session(console_session& session, const console_options& options)
{
    if (is_for_terminal(options))
        run_terminal(session);
    else if (options.words.empty())
        run_script(session, options.wait_ready);
    else
        run_single(session, options.words, options.wait_ready);
}

int status_of(const console_session& session)
{
    if (session.signal != 0) return STATUS_OF_SIGNAL + session.signal;
    switch (session.worst) {
    case verdict::done:
        return 0;
    case verdict::wrong_use:
        return common::EXIT_WRONG_ARGUMENTS;
    case verdict::refused:
        return 2;
    case verdict::not_ready:
        return 3;
    }
    return 0;
}

int run(const console_options& options)
{
    if (access(options.backend.c_str(), X_OK) != 0)
        throw std::runtime_error("cannot run " + options.backend + ": " + std::strerror(errno));
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow any more is an error like others
    console_session session;
    if (is_for_terminal(options))
        catch_signals(session, {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGCONT, SIGWINCH});
    else
        catch_signals(session, {SIGINT, SIGTERM, SIGHUP, SIGQUIT});
    const private_folder folder;
    console_state& console = session.console;
    console.person = {options.person, "console", {desk::right::administer, {}, {}}};
    console.running.program = options.backend;
    console.running.folder = folder.path;
    session.json = options.json;
    session.print = session.show = [&](const std::string& text) {
        write_output(session, text);
    };
    std::string error;
    if (!make_desk(session, options, error)) {
        std::cerr << error << "\n";
        return common::EXIT_WRONG_ARGUMENTS;
    }
    if (!add_routers(console, options, error))
        return common::refuse_arguments(safe_text(error), std::cerr);
    if (is_for_terminal(options)) tell_missed(session); // a script has no eyes
    run_session(session, options);
    close_session(session);
    return is_for_terminal(options) ? 0 : status_of(session); // a person has seen it all
}

int run_program(int argument_count, const char* const* arguments)
{
    console_options options;
    options.backend = backend_beside_console();
    options.person = login_name();
    const auto status = read_options(argument_count, arguments, options, std::cout, std::cerr);
    return status ? *status : run(options);
}
} // namespace

int main(int argument_count, char** arguments)
{
    common::keep_standard_descriptors();
    choose_characters();
    return common::run_main(run_program, argument_count, arguments);
}
