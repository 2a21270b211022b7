#include "router_simulator/scenario/connection_faults.h"

#include <algorithm>
#include <sys/socket.h>
#include <utility>

#include "router_simulator/wire/listener.h"
#include "router_simulator/wire/trace.h"

namespace router_simulator {

namespace {
// The clients that a step is about when no trigger names one.
constexpr int ALL_CLIENTS = 0;

void print_start_of_fault(const simulator_server& server, fault_kind fault, int number)
{
    router_event event{.kind = "fault", .fault = fault_name(fault)};
    const fault_span span = span_of(fault);
    event.lasting =
        span == fault_span::listener || (span == fault_span::connection && number != ALL_CLIENTS);
    if (number != ALL_CLIENTS) event.client = number;
    print_event(server, event);
}

void print_end_of_fault(const simulator_server& server, fault_kind fault, int number)
{
    router_event event{.kind = "end of fault", .fault = fault_name(fault)};
    if (number != ALL_CLIENTS) event.client = number;
    print_event(server, event);
}

std::vector<int> clients_meant(const simulator_server& server, int number)
{
    if (number != ALL_CLIENTS) return {number};
    std::vector<int> numbers;
    for (const auto& [each, link] : server.links)
        numbers.push_back(each);
    return numbers;
}

std::string garbage(std::mt19937_64& random, std::size_t size)
{
    std::string bytes;
    while (bytes.size() < size)
        bytes += static_cast<char>(draw(random, {0, 255}));
    return bytes;
}

std::size_t random_position(std::mt19937_64& random, const port_list& ports)
{
    return draw(random, {0, ports.names.size() - 1});
}

std::size_t chosen_position(std::mt19937_64& random, const port_list& ports,
                            const std::optional<std::uint32_t>& index)
{
    return index ? position_of(ports, *index).value() : random_position(random, ports);
}

void take_as_operator(simulator_server& server, const scenario_step& step, std::mt19937_64& random)
{
    simulated_router& router = server.router;
    if (router.sources.names.empty() || router.destinations.names.empty()) return;
    const std::size_t destination = chosen_position(random, router.destinations, step.destination);
    const std::size_t source = chosen_position(random, router.sources, step.source);
    const std::vector<addressed_message> told = take_route(router, destination, source);
    print_takes(server, "scenario");
    send_messages(server, told);
}

void rename_as_operator(simulator_server& server, const scenario_step& step,
                        std::mt19937_64& random)
{
    simulated_router& router = server.router;
    const bool is_drawn = !step.source && !step.destination;
    const bool is_source = step.source || (is_drawn && draw(random, {0, 1}) == 0);
    const port_list& ports = is_source ? router.sources : router.destinations;
    if (ports.names.empty()) return;
    const std::size_t position =
        chosen_position(random, ports, is_source ? step.source : step.destination);
    const std::string name =
        step.to.empty() ? "NAME " + std::to_string(draw(random, {1, 9999})) : step.to;
    (is_source ? rename_source : rename_destination)(router, position, name);
    print_rename(server, is_source, position);
}

// Leaves nothing unread behind: the close would reset the connection.
void end_stream(simulator_server& server, int number)
{
    const int descriptor = server.links.at(number).descriptor;
    shutdown(descriptor, SHUT_WR);
    char bytes[4096];
    while (recv(descriptor, bytes, sizeof bytes, MSG_DONTWAIT) > 0)
        continue;
    remove_client(server, number, "closed by the scenario");
}

void reset_connection(simulator_server& server, int number, bool inside)
{
    const int descriptor = server.links.at(number).descriptor;
    if (inside) send(descriptor, "\x01N0IQ\t0", 7, MSG_NOSIGNAL | MSG_DONTWAIT);
    const linger at_once = {.l_onoff = 1, .l_linger = 0};
    setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    remove_client(server, number, "reset by the scenario");
}
} // namespace

void start_stream(simulator_server& server, std::size_t step, int number, const std::string& bytes)
{
    const scenario_step& plan = server.plan->steps[step];
    server.streams.push_back({.fault = plan.fault,
                              .client = number,
                              .step = step,
                              .bytes = bytes,
                              .left = plan.messages,
                              .due = now_us(),
                              .interval_us = plan.interval_us});
}

namespace {
us_time_t end_of(const scenario_step& step)
{
    return step.fault == fault_kind::half_open ? NEVER : now_us() + step.for_us;
}

void do_link_fault(simulator_server& server, std::size_t index, int number)
{
    const scenario_step& step = server.plan->steps[index];
    std::mt19937_64& random = server.plan->states[index].random;
    if (step.fault == fault_kind::garbage)
        send_bytes(server, number, garbage(random, step.bytes));
    else if (step.fault == fault_kind::close)
        end_stream(server, number);
    else if (step.fault == fault_kind::reset)
        reset_connection(server, number, step.inside);
    else if (step.fault == fault_kind::burst)
        start_stream(server, index, number, "");
    else
        server.links.at(number).lasting[step.fault] = end_of(step);
}

// From the event on, nobody connects.
void refuse_connections(simulator_server& server, us_time_t until)
{
    set_refusing(server, true);
    print_start_of_fault(server, fault_kind::refuse, ALL_CLIENTS);
    server.lasting[fault_kind::refuse] = until;
    while (!server.links.empty())
        reset_connection(server, server.links.begin()->first, false);
}

void do_step(simulator_server& server, std::size_t index, int number)
{
    const scenario_step& step = server.plan->steps[index];
    std::mt19937_64& random = server.plan->states[index].random;
    if (step.fault == fault_kind::take) return take_as_operator(server, step, random);
    if (step.fault == fault_kind::rename) return rename_as_operator(server, step, random);
    if (step.fault == fault_kind::refuse) return refuse_connections(server, end_of(step));
    if (step.fault == fault_kind::ignore && number == ALL_CLIENTS)
        server.lasting[fault_kind::ignore] = end_of(step);
    const std::vector<int> numbers = clients_meant(server, number);
    if (numbers.empty()) print_start_of_fault(server, step.fault, ALL_CLIENTS);
    for (const int each : numbers) {
        print_start_of_fault(server, step.fault, each);
        do_link_fault(server, index, each);
    }
}

// Whether a client that is known by its number is still there; all are for the whole.
bool still_there(const simulator_server& server, int number)
{
    return number == ALL_CLIENTS || server.links.contains(number);
}

void do_steps(simulator_server& server, const std::vector<std::size_t>& steps, int number)
{
    for (const std::size_t step : steps)
        if (still_there(server, number)) do_step(server, step, number);
}
} // namespace

void do_connection_faults(simulator_server& server, int number)
{
    if (!server.plan) return;
    const auto ignored = server.lasting.find(fault_kind::ignore);
    if (ignored != server.lasting.end()) server.links.at(number).lasting.insert(*ignored);
    do_steps(server, connection_steps(*server.plan, number), number);
}

void do_request_faults(simulator_server& server, int number, const std::string& request,
                       bool answered)
{
    if (server.plan) do_steps(server, request_steps(*server.plan, request, answered), number);
}

std::string do_named_faults(simulator_server& server, const std::string& name)
{
    if (!server.plan) return "There is no scenario.\n";
    const auto steps = named_steps(*server.plan, name);
    if (!steps) return "No step is named " + quoted_text(name) + ".\n";
    do_steps(server, *steps, ALL_CLIENTS);
    return "";
}

namespace {
void end_lasting(const simulator_server& server, lasting_faults& lasting, int number)
{
    const us_time_t now = now_us();
    std::erase_if(lasting, [&](const auto& each) {
        const auto& [fault, until] = each;
        if (until > now) return false;
        print_end_of_fault(server, fault, number);
        return true;
    });
}

void end_faults(simulator_server& server)
{
    end_lasting(server, server.lasting, ALL_CLIENTS);
    set_refusing(server, server.lasting.contains(fault_kind::refuse));
    for (auto& [number, link] : server.links)
        end_lasting(server, link.lasting, number);
}

std::string stream_message(simulator_server& server, const message_stream& stream)
{
    const simulated_router& router = server.router;
    if (!stream.bytes.empty() || router.destinations.names.empty()) return stream.bytes;
    const std::size_t destination =
        random_position(server.plan->states[stream.step].random, router.destinations);
    return plain_reply({routing_status(router, destination, 0)}).pieces[0].bytes;
}

// What of the stream is due by now.
std::string due_messages(simulator_server& server, message_stream& stream)
{
    std::string bytes;
    for (; stream.left > 0 && stream.due <= now_us(); --stream.left) {
        bytes += stream_message(server, stream);
        stream.due += stream.interval_us;
    }
    return bytes;
}

void continue_streams(simulator_server& server)
{
    std::vector<std::pair<int, std::string>> sent;
    for (message_stream& stream : server.streams)
        sent.emplace_back(stream.client, due_messages(server, stream));
    std::erase_if(server.streams, [&server](const message_stream& stream) {
        if (stream.left == 0) print_end_of_fault(server, stream.fault, stream.client);
        return stream.left == 0;
    });
    // May end a client, and with it its streams.
    for (const auto& [number, bytes] : sent)
        if (server.links.contains(number)) send_bytes(server, number, bytes);
}

void write_due_output(simulator_server& server)
{
    std::vector<int> numbers;
    for (const auto& [number, link] : server.links)
        if (next_due(link.output) <= now_us()) numbers.push_back(number);
    for (const int number : numbers)
        write_output(server, number);
}
} // namespace

void do_due_faults(simulator_server& server)
{
    if (server.plan) {
        end_faults(server);
        do_steps(server, timed_steps(*server.plan, now_us() - server.started), ALL_CLIENTS);
        continue_streams(server);
    }
    write_due_output(server);
}

namespace {
us_time_t next_end(const lasting_faults& lasting)
{
    us_time_t next = NEVER;
    for (const auto& [fault, until] : lasting)
        next = std::min(next, until);
    return next;
}
} // namespace

us_time_t next_due_fault(const simulator_server& server)
{
    us_time_t next = next_end(server.lasting);
    for (const message_stream& stream : server.streams)
        next = std::min(next, stream.due);
    for (const auto& [number, link] : server.links)
        next = std::min({next, next_end(link.lasting), next_due(link.output)});
    if (!server.plan) return next;
    const us_time_t timed = next_timed_step(*server.plan);
    return timed == NEVER ? next : std::min(next, server.started + timed);
}

} // namespace router_simulator
