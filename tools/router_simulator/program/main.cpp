// The simulated router as a program: options in, one loop over network, commands and signals.

#include <array>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <sys/signalfd.h>
#include <unistd.h>

#include "router_simulator/program/commands.h"
#include "router_simulator/program/options.h"
#include "router_simulator/program/server.h"
#include "router_simulator/router/names_file.h"
#include "router_simulator/scenario/file.h"
#include "router_simulator/wire/listener.h"

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

void run_complete_lines(simulator_server& server, std::string& input)
{
    for (std::size_t end = input.find('\n'); end != std::string::npos; end = input.find('\n')) {
        print_text(run_command(server, input.substr(0, end)));
        input.erase(0, end + 1);
    }
    if (input.size() <= MAX_COMMAND_LINE) return;
    print_text("Line too long.\n");
    input.clear();
}

// Returns false at the end of standard input; a line without its newline then counts as a whole.
bool read_commands(simulator_server& server, std::string& input)
{
    std::array<char, MAX_COMMAND_LINE> bytes{};
    const ssize_t count = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count <= 0) {
        print_text(run_command(server, input));
        return false;
    }
    input.append(bytes.data(), static_cast<std::size_t>(count));
    run_complete_lines(server, input);
    return true;
}

void run_until_signal(simulator_server& server, int signals)
{
    std::array<pollfd, 2> watched = {{{.fd = signals, .events = POLLIN, .revents = 0},
                                      {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0}}};
    std::string input;
    for (;;) {
        serve(server, -1, watched);
        if (watched[0].revents != 0) return;
        if (watched[1].revents != 0 && !read_commands(server, input)) watched[1].fd = -1;
    }
}

bool report_error(const std::string& error)
{
    if (error.empty()) return false;
    std::fprintf(stderr, "%s\n", error.c_str());
    return true;
}

// Returns false when the scenario cannot be read, which is then said.
bool prepare_scenario(const simulated_router& router, const simulator_options& options,
                      std::optional<scenario>& plan)
{
    if (options.scenario_file.empty()) return true;
    plan.emplace();
    if (report_error(read_scenario_file(*plan, options.scenario_file, router))) return false;
    if (options.seed) {
        plan->seed = *options.seed;
        start_scenario(*plan);
    }
    return true;
}
} // namespace

int main(int argument_count, char** arguments)
{
    simulator_options options;
    if (const auto status = parse_options(argument_count, arguments, options, std::cout, std::cerr))
        return *status;
    simulator_server server{.router = make_router(options.router),
                            .print = [](const std::string& line) { print_text(line + "\n"); },
                            .trace = options.trace,
                            .json_events = options.json_events,
                            .receive_buffer = options.receive_buffer};
    if (!options.names_file.empty() &&
        report_error(read_names_file(server.router, options.names_file)))
        return 1;
    std::optional<scenario> plan;
    if (!prepare_scenario(server.router, options, plan)) return 1;
    if (report_error(start_listening(server, options.listen, options.port))) return 1;
    const int signals = watch_signals();
    print_text("Listening on " + listening_address(server) + "\n");
    if (plan) begin_scenario(server, *plan);
    run_until_signal(server, signals);
    stop_server(server);
    return 0;
}
