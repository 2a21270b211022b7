#include "router_simulator/scenario/player.h"

#include <algorithm>
#include <utility>

#include "router_simulator/scenario/connection_faults.h"
#include "router_simulator/scenario/fault.h"
#include "router_simulator/scenario/plan.h"
#include "router_simulator/wire/trace.h"
#include "tools/common/random.h"

namespace router_simulator {

void begin_scenario(simulator& simulated, const scenario& plan)
{
    simulated.plan = plan;
    simulated.server.text_events = true;
    simulated.server.started = now_us();
    print_event(simulated.server, {.kind = "start", .seed = plan.seed});
}

namespace {
// For one client, or for whoever is there.
void do_step(simulator& simulated, std::size_t index, int number)
{
    simulator_server& server = simulated.server;
    const fault_row& fault = *simulated.plan->steps[index].fault;
    if (fault.strike_router != nullptr) return fault.strike_router(simulated, index);
    const bool is_of_listener = fault.span == fault_span::listener && number == ALL_CLIENTS;
    if (is_of_listener) start_lasting(simulated, index, ALL_CLIENTS);
    std::vector<int> numbers;
    for (const auto& [each, client] : server.clients)
        if (number == ALL_CLIENTS || number == each) numbers.push_back(each);
    if (numbers.empty() || is_of_listener) print_start(server, fault, ALL_CLIENTS);
    for (const int each : numbers) {
        print_start(server, fault, each);
        fault.strike_client(simulated, index, each);
    }
}

void do_steps(simulator& simulated, const std::vector<std::size_t>& steps, int number)
{
    // An earlier step may have ended the client.
    for (const std::size_t step : steps)
        if (number == ALL_CLIENTS || simulated.server.clients.contains(number))
            do_step(simulated, step, number);
}
} // namespace

void do_connection_steps(simulator& simulated, int number)
{
    if (!simulated.plan) return;
    const std::vector<lasting_fault> before = simulated.lasting;
    for (lasting_fault each : before)
        if (each.client == ALL_CLIENTS && !each.fault->stops.accepting) {
            each.client = number;
            simulated.lasting.push_back(each);
            print_start(simulated.server, *each.fault, number);
        }
    apply_lasting(simulated);
    do_steps(simulated, connection_steps(*simulated.plan, number), number);
}

void do_request_steps(simulator& simulated, int number, std::string_view request, bool answered)
{
    if (!simulated.plan) return;
    do_steps(simulated, request_steps(*simulated.plan, request, answered), number);
}

namespace {
bool refuse_name(const simulator& simulated, const std::string& name, std::string& error)
{
    error =
        simulated.plan ? "No step is named " + quoted_text(name) + "." : "There is no scenario.";
    return false;
}
} // namespace

bool do_named_steps(simulator& simulated, const std::string& name, std::string& error)
{
    const auto steps = simulated.plan ? named_steps(*simulated.plan, name) : std::nullopt;
    if (!steps) return refuse_name(simulated, name, error);
    do_steps(simulated, *steps, ALL_CLIENTS);
    return true;
}

bool switch_named_steps(simulator& simulated, const std::string& name, bool off, std::string& error)
{
    return (simulated.plan && switch_steps(*simulated.plan, name, off)) ||
           refuse_name(simulated, name, error);
}

namespace {
// The ends of those that are over are told; with a client, its faults are just gone.
void end_lasting(simulator& simulated)
{
    const us_time_t now = now_us();
    std::erase_if(simulated.lasting, [&simulated, now](const lasting_fault& each) {
        if (each.client != ALL_CLIENTS && !simulated.server.clients.contains(each.client))
            return true;
        if (each.until > now) return false;
        print_end(simulated.server, *each.fault, each.client);
        return true;
    });
    apply_lasting(simulated);
}

// What of the stream is due by now.
std::string due_messages(simulator& simulated, message_stream& stream)
{
    const scenario_step& step = simulated.plan->steps[stream.step];
    const simulated_router& router = simulated.server.router;
    const std::size_t destinations = router.destinations.names.size();
    const us_time_t now = now_us();
    std::string bytes;
    for (; stream.left > 0 && stream.due <= now; --stream.left) {
        stream.due += step.interval_us;
        bytes += stream.bytes;
        if (!stream.bytes.empty() || destinations == 0) continue;
        const std::size_t destination = common::draw<std::size_t>(
            simulated.plan->states[stream.step].random, 0, destinations - 1);
        bytes += plain_reply({routing_status(router, destination, 0)}).pieces[0].bytes;
    }
    return bytes;
}

// The end is that of a fault and a client: the last of their streams tells it.
void end_streams(simulator& simulated)
{
    std::vector<message_stream>& streams = simulated.streams;
    const auto fault_of = [&simulated](const message_stream& stream) {
        return simulated.plan->steps[stream.step].fault;
    };
    for (auto each = streams.begin(); each != streams.end();) {
        if (each->left > 0) {
            ++each;
            continue;
        }
        const fault_row* const fault = fault_of(*each);
        const int client = each->client;
        each = streams.erase(each);
        if (std::none_of(streams.begin(), streams.end(), [&](const message_stream& other) {
                return other.client == client && fault_of(other) == fault;
            }))
            print_end(simulated.server, *fault, client);
    }
}

void continue_streams(simulator& simulated)
{
    simulator_server& server = simulated.server;
    std::erase_if(simulated.streams, [&server](const message_stream& stream) {
        return !server.clients.contains(stream.client);
    });
    std::vector<std::pair<int, std::string>> due;
    for (message_stream& stream : simulated.streams)
        due.emplace_back(stream.client, due_messages(simulated, stream));
    end_streams(simulated);
    // May end a client, and with it its streams.
    for (const auto& [number, bytes] : due)
        if (server.clients.contains(number)) send_bytes(server, number, bytes);
}
} // namespace

void do_due_steps(simulator& simulated)
{
    simulator_server& server = simulated.server;
    if (simulated.plan) {
        end_lasting(simulated);
        do_steps(simulated, timed_steps(*simulated.plan, now_us() - server.started), ALL_CLIENTS);
        continue_streams(simulated);
    }
    std::vector<int> numbers;
    for (const auto& [number, client] : server.clients)
        if (next_due(client.output) <= now_us()) numbers.push_back(number);
    for (const int number : numbers)
        write_output(server, number);
}

us_time_t next_due(const simulator& simulated)
{
    us_time_t next = NEVER;
    for (const lasting_fault& each : simulated.lasting)
        next = std::min(next, each.until);
    for (const message_stream& stream : simulated.streams)
        next = std::min(next, stream.due);
    for (const auto& [number, client] : simulated.server.clients)
        next = std::min(next, next_due(client.output));
    if (!simulated.plan) return next;
    const us_time_t timed = next_timed_step(*simulated.plan);
    return timed == NEVER ? next : std::min(next, simulated.server.started + timed);
}

} // namespace router_simulator
