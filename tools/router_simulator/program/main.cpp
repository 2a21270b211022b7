// The simulated router as a program: options in, one loop over network, commands and signals.

#include <array>
#include <csignal>
#include <cstdio>
#include <deque>
#include <iostream>
#include <sys/signalfd.h>
#include <unistd.h>

#include "router_simulator/program/commands.h"
#include "router_simulator/program/options.h"
#include "router_simulator/program/server.h"
#include "router_simulator/router/names_file.h"
#include "router_simulator/scenario/file.h"
#include "router_simulator/scenario/plan.h"
#include "router_simulator/scenario/player.h"
#include "router_simulator/wire/listener.h"
#include "tools/common/descriptors.h"
#include "tools/common/lines.h"
#include "tools/common/program.h"

using namespace router_simulator;

namespace {
constexpr std::size_t MAX_COMMAND_LINE = 4096;

void print_text(const std::string& text)
{
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

// The termination signals as a descriptor that becomes readable, so that none is missed between a
// test for it and the wait. A reader of our output that goes away does not end us.
int watch_signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

// Returns false at the end of standard input; a line without its newline then counts as a whole.
bool run_input(simulator& simulated, std::string& partial)
{
    std::string bytes;
    const bool goes_on = common::read_some(STDIN_FILENO, bytes) != common::read_outcome::ended;
    if (!goes_on && !partial.empty()) bytes = "\n";
    std::deque<std::string> lines;
    common::cut_lines(bytes, partial, lines, MAX_COMMAND_LINE);
    for (const std::string& line : lines)
        print_text(line.size() > MAX_COMMAND_LINE ? "Line too long.\n"
                                                  : run_commands(simulated, line));
    return goes_on;
}

void run_until_end(simulator& simulated, int signals)
{
    std::array<pollfd, 2> watched = {{{.fd = signals, .events = POLLIN, .revents = 0},
                                      {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0}}};
    std::string partial;
    while (!simulated.quit) {
        serve(simulated, -1, watched);
        if (watched[0].revents != 0) return;
        if (watched[1].revents != 0 && !run_input(simulated, partial)) watched[1].fd = -1;
    }
}

// Names the ports, reads the scenario where there is one, and listens.
bool prepare(simulator_server& server, std::optional<scenario>& plan,
             const simulator_options& options, std::string& error)
{
    if (!options.names_file.empty() && !read_names_file(server.router, options.names_file, error))
        return false;
    if (!options.scenario_file.empty() &&
        !read_scenario_file(plan.emplace(), options.scenario_file, server.router, error))
        return false;
    if (plan && options.seed) {
        plan->seed = *options.seed;
        start_scenario(*plan);
    }
    return start_listening(server, options.listen, options.port, error);
}

int run_program(int argument_count, const char* const* arguments)
{
    simulator_options options;
    if (const auto status = parse_options(argument_count, arguments, options, std::cout, std::cerr))
        return *status;
    simulator simulated{
        .server = {.router = make_router(options.router),
                   .print = [](const std::string& line) { print_text(line + "\n"); },
                   .trace = options.trace,
                   .json_events = options.json_events,
                   .receive_buffer = options.receive_buffer}};
    simulator_server& server = simulated.server;
    std::optional<scenario> plan;
    std::string error;
    if (!prepare(server, plan, options, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    const int signals = watch_signals();
    print_text("Listening on " + listening_address(server) + "\n");
    if (plan) begin_scenario(simulated, *plan);
    run_until_end(simulated, signals);
    stop_server(simulated);
    return 0;
}
} // namespace

int main(int argument_count, char** arguments)
{
    return common::run_main(run_program, argument_count, arguments);
}
