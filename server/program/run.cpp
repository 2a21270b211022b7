#include "server/program/run.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "server/program/clocks.h"
#include "server/program/parts.h"
#include "server/program/systemd.h"
#include "server/web/serving.h"

namespace program {

namespace {
constexpr std::chrono::seconds LAST_WISHES{2};  // open ones may end, when the server is told to
constexpr std::chrono::seconds LAST_ANSWERS{1}; // then its clients' sockets are closed

// A demonstration's; removed with the record.
struct temporary_folder {
    std::string path;

    temporary_folder() = default;
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;
    ~temporary_folder()
    {
        std::error_code ignored;
        if (!path.empty()) std::filesystem::remove_all(path, ignored);
    }
};

void make_folder(temporary_folder& folder)
{
    folder.path = (std::filesystem::temp_directory_path() / "router_control.XXXXXX").string();
    if (mkdtemp(folder.path.data()) != nullptr) return;
    folder.path.clear();
    throw std::runtime_error("cannot make a temporary folder");
}

web::instant at(desk::monotonic time)
{
    return web::instant(std::chrono::duration_cast<web::instant::duration>(time));
}

bool has_open_wishes(const web::server& server)
{
    return std::any_of(server.desk.live.begin(), server.desk.live.end(),
                       [](const auto& each) { return !each.second.open.empty(); });
}

// How far the end has come.
struct ending {
    bool begun = false;
    desk::monotonic wishes_until{};
    desk::monotonic answers_until{};
    bool doors_closed = false;
};

void begin_to_end(parts& parts, ending& ending)
{
    if (ending.begun) return;
    ending.begun = true;
    ending.wishes_until = now().steady + LAST_WISHES;
    parts.server.stopping = true;
    tell_stopping();
}

// One step further. False when the loop is to stop.
bool goes_on(parts& parts, ending& ending, const desk::moment& time)
{
    if (!ending.begun) return true;
    if (has_open_wishes(parts.server) && time.steady < ending.wishes_until) return true;
    if (!ending.doors_closed) {
        ending.doors_closed = true;
        ending.answers_until = time.steady + LAST_ANSWERS;
        web::stop_listening(*parts.transport);
        web::end_streams(parts.server, time);
        routers::stop_routers(parts.server.routers, time);
    }
    web::end_waits(parts.server, time);
    const bool busy = routers::any_running(parts.server.routers) || !parts.server.waiting.empty() ||
                      web::counters(*parts.transport).open > 0;
    return busy && time.steady < ending.answers_until;
}

// The server's turn, after each of the loop's.
void call_passes(parts& parts, ending& ending)
{
    const auto period = watchdog_period();
    desk::monotonic alive_due{};
    web::call_after_each_pass(parts.loop, [&parts, &ending, period, alive_due]() mutable {
        const desk::moment time = now();
        web::pass(parts.server, time);
        serve_simulation(parts.simulation);
        if (period && time.steady >= alive_due) {
            tell_alive();
            alive_due = time.steady + *period;
        }
        if (!goes_on(parts, ending, time)) {
            web::stop(parts.loop);
            return std::optional<web::instant>();
        }
        std::optional<desk::monotonic> due = web::next_due(parts.server, time);
        const auto also = [&](desk::monotonic other) {
            due = due ? std::min(*due, other) : other;
        };
        if (period) also(alive_due);
        if (ending.begun) also(ending.doors_closed ? ending.answers_until : ending.wishes_until);
        return due ? std::optional(at(*due)) : std::nullopt;
    });
}

void watch(parts& parts, ending& ending)
{
    // What is read there is read in the pass.
    const auto nothing = [] {
    };
    web::watch_descriptor(parts.loop, parts.server.routers.watch.number, nothing);
    web::watch_descriptor(parts.loop, parts.server.journal.ready.number, nothing);
    web::watch_descriptor(parts.loop, parts.server.passwords.ready.number, nothing);
    constexpr int SIGNALS[] = {SIGTERM, SIGINT, SIGHUP};
    web::watch_signals(parts.loop, SIGNALS, [&parts, &ending](int signal) {
        std::string error;
        if (signal != SIGHUP)
            begin_to_end(parts, ending);
        else if (!web::reload_certificates(*parts.transport, error))
            std::cerr << "The certificates stay as they were: " << error << "\n";
    });
}

// What people need to know to come in.
void say_where(const parts& parts)
{
    std::cout << "Router control is at " << parts.address << "\n";
    if (!parts.metrics_address.empty())
        std::cout << "Metrics are at " << parts.metrics_address << "\n";
    if (parts.server.settings.demonstration)
        std::cout << "This is a demonstration: its routers are simulated, everybody may do "
                     "everything, and nothing is kept.\n";
    else if (!parts.server.first_code.empty())
        std::cout << "Nobody can sign in yet. Whoever opens this link becomes the administrator:\n"
                  << parts.address << "first#" << parts.server.first_code << "\n";
    std::cout.flush();
    tell_ready("Serving at " + parts.address);
}

bool start(parts& parts, const options& options, const settings& settings, std::string& error)
{
    if (!open_house(parts, options, settings, error)) return false;
    parts.simulation.program = options.simulator;
    if (options.demonstration &&
        !begin_demonstration(parts.simulation, parts.server, parts.folder, error))
        return false;
    return open_doors(parts, settings, error) && start_threads(parts.server, error);
}
} // namespace

int run_server(const options& options, const settings& settings)
{
    std::signal(SIGPIPE, SIG_IGN); // a reader that has gone is an error like others
    std::signal(SIGXFSZ, SIG_IGN); // and so is a file that may not grow any more
    temporary_folder folder;
    if (options.demonstration) make_folder(folder);
    parts parts;
    parts.folder = options.demonstration ? folder.path : options.data;
    std::string error;
    if (!start(parts, options, settings, error)) {
        std::cerr << error << "\n";
        return 1;
    }
    ending ending;
    watch(parts, ending);
    call_passes(parts, ending);
    say_where(parts);
    web::run(parts.loop);
    return close_house(parts) ? 0 : 1;
}

} // namespace program
