#include "router_simulator/scenario/connection_faults.h"

#include <algorithm>
#include <sys/socket.h>

#include "router_simulator/scenario/fault.h"
#include "router_simulator/wire/listener.h"
#include "tools/common/random.h"

namespace router_simulator {

void print_start(const simulator_server& server, const fault_row& fault, int number)
{
    router_event event{.kind = "fault", .fault = fault.name};
    event.lasting = fault.span == fault_span::listener ||
                    (fault.span == fault_span::connection && number != ALL_CLIENTS);
    if (number != ALL_CLIENTS) event.client = number;
    print_event(server, event);
}

void print_end(const simulator_server& server, const fault_row& fault, int number)
{
    router_event event{.kind = "end of fault", .fault = fault.name};
    if (number != ALL_CLIENTS) event.client = number;
    print_event(server, event);
}

void send_garbage(simulator& simulated, std::size_t step, int number)
{
    const std::size_t size = simulated.plan->steps[step].bytes;
    std::mt19937_64& random = simulated.plan->states[step].random;
    std::string bytes;
    while (bytes.size() < size)
        bytes += static_cast<char>(common::draw(random, 0, 255));
    send_bytes(simulated.server, number, bytes);
}

// Leaves nothing unread behind: the close would reset the connection.
void end_stream(simulator& simulated, std::size_t, int number)
{
    const int descriptor = simulated.server.clients.at(number).descriptor;
    shutdown(descriptor, SHUT_WR);
    char bytes[4096];
    while (recv(descriptor, bytes, sizeof bytes, MSG_DONTWAIT) > 0)
        continue;
    remove_client(simulated.server, number, "closed by the scenario");
}

void reset_connection(simulator& simulated, std::size_t step, int number)
{
    const int descriptor = simulated.server.clients.at(number).descriptor;
    if (simulated.plan->steps[step].inside)
        send(descriptor, "\x01N0IQ\t0", 7, MSG_NOSIGNAL | MSG_DONTWAIT);
    const linger at_once = {.l_onoff = 1, .l_linger = 0};
    setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    remove_client(simulated.server, number, "reset by the scenario");
}

void start_stream(simulator& simulated, std::size_t step, int number, const std::string& bytes)
{
    simulated.streams.push_back({.step = step,
                                 .client = number,
                                 .bytes = bytes,
                                 .left = simulated.plan->steps[step].messages,
                                 .due = now_us()});
}

void start_burst(simulator& simulated, std::size_t step, int number)
{
    start_stream(simulated, step, number, "");
}

// A second time begins anew.
void start_lasting(simulator& simulated, std::size_t step, int number)
{
    const scenario_step& begun = simulated.plan->steps[step];
    std::erase_if(simulated.lasting, [&begun, number](const lasting_fault& each) {
        return each.fault == begun.fault && each.client == number;
    });
    const us_time_t until = begun.for_us == NEVER ? NEVER : now_us() + begun.for_us;
    simulated.lasting.push_back({.fault = begun.fault, .client = number, .until = until});
    apply_lasting(simulated);
}

void stop_actions(simulator& simulated, std::size_t step, int number)
{
    start_lasting(simulated, step, number);
}

void apply_lasting(simulator& simulated)
{
    bool refusing = false;
    for (auto& [number, client] : simulated.server.clients)
        client.stopped = {};
    for (const lasting_fault& each : simulated.lasting) {
        const stopped_actions& stops = each.fault->stops;
        refusing = refusing || stops.accepting;
        const auto found = simulated.server.clients.find(each.client);
        if (found == simulated.server.clients.end()) continue;
        stopped_actions& stopped = found->second.stopped;
        stopped.reading = stopped.reading || stops.reading;
        stopped.answering = stopped.answering || stops.answering;
        stopped.writing = stopped.writing || stops.writing;
    }
    set_refusing(simulated.server, refusing);
}

// From the event on, nobody connects.
void refuse_connections(simulator& simulated, std::size_t step)
{
    set_refusing(simulated.server, true);
    print_start(simulated.server, *simulated.plan->steps[step].fault, ALL_CLIENTS);
    start_lasting(simulated, step, ALL_CLIENTS);
    while (!simulated.server.clients.empty())
        reset_connection(simulated, step, simulated.server.clients.begin()->first);
}

namespace {
// Of the index that the step names, else a random one.
std::size_t chosen_position(std::mt19937_64& random, const port_list& ports,
                            const std::optional<std::uint32_t>& index)
{
    return index ? position_of(ports, *index).value()
                 : common::draw<std::size_t>(random, 0, ports.names.size() - 1);
}

// The crosspoint that a step is about.
struct crosspoint {
    std::size_t destination = 0;
    std::size_t source = 0;
};

// Nothing where the router has none.
std::optional<crosspoint> chosen_crosspoint(simulator& simulated, std::size_t step)
{
    const simulated_router& router = simulated.server.router;
    if (router.sources.names.empty() || router.destinations.names.empty()) return std::nullopt;
    const scenario_step& plan = simulated.plan->steps[step];
    std::mt19937_64& random = simulated.plan->states[step].random;
    const std::size_t destination = chosen_position(random, router.destinations, plan.destination);
    return crosspoint{destination, chosen_position(random, router.sources, plan.source)};
}

std::optional<std::size_t> chosen_destination(simulator& simulated, std::size_t step)
{
    const port_list& ports = simulated.server.router.destinations;
    if (ports.names.empty()) return std::nullopt;
    return chosen_position(simulated.plan->states[step].random, ports,
                           simulated.plan->steps[step].destination);
}
} // namespace

void make_take(simulator& simulated, std::size_t step)
{
    const auto chosen = chosen_crosspoint(simulated, step);
    if (!chosen) return;
    simulator_server& server = simulated.server;
    const std::vector<addressed_message> announcements =
        take_route(server.router, chosen->destination, chosen->source);
    print_takes(server, "scenario");
    send_messages(server, announcements);
}

void make_rename(simulator& simulated, std::size_t step)
{
    simulated_router& router = simulated.server.router;
    const scenario_step& plan = simulated.plan->steps[step];
    std::mt19937_64& random = simulated.plan->states[step].random;
    const bool is_drawn = !plan.source && !plan.destination;
    const bool is_source = plan.source || (is_drawn && common::draw(random, 0, 1) == 0);
    const port_list& ports = is_source ? router.sources : router.destinations;
    if (ports.names.empty()) return;
    const std::size_t position =
        chosen_position(random, ports, is_source ? plan.source : plan.destination);
    const std::string name =
        plan.to ? *plan.to : "NAME " + std::to_string(common::draw(random, 1, 9999));
    (is_source ? rename_source : rename_destination)(router, position, name);
    print_rename(simulated.server, is_source, position);
}

void lock_destination(simulator& simulated, std::size_t step)
{
    const auto destination = chosen_destination(simulated, step);
    if (!destination) return;
    simulated.server.router.locked.insert(*destination);
    print_right(simulated.server, "lock", *destination, {}, "scenario");
}

void unlock_destination(simulator& simulated, std::size_t step)
{
    const auto destination = chosen_destination(simulated, step);
    if (!destination) return;
    simulated.server.router.locked.erase(*destination);
    print_right(simulated.server, "unlock", *destination, {}, "scenario");
}

void refuse_take(simulator& simulated, std::size_t step)
{
    const auto chosen = chosen_crosspoint(simulated, step);
    if (!chosen) return;
    simulated.server.router.refused[{chosen->destination, chosen->source}] =
        simulated.plan->steps[step].code;
    print_right(simulated.server, "refuse take", chosen->destination, chosen->source, "scenario");
}

void allow_take(simulator& simulated, std::size_t step)
{
    const auto chosen = chosen_crosspoint(simulated, step);
    if (!chosen) return;
    simulated.server.router.refused.erase({chosen->destination, chosen->source});
    print_right(simulated.server, "allow take", chosen->destination, chosen->source, "scenario");
}

} // namespace router_simulator
