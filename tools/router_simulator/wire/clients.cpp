#include "router_simulator/wire/clients.h"

#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "common/check.h"
#include "router_simulator/wire/trace.h"

namespace router_simulator {

void print_event(const simulator_server& server, const router_event& event)
{
    const us_time_t elapsed = now_us() - server.started;
    if (server.text_events) server.print(readable_event(event, elapsed));
    if (server.json_events) server.print(json_event(event, elapsed));
}

void print_takes(simulator_server& server, const char* by, std::optional<int> client)
{
    const simulated_router& router = server.router;
    for (const auto& [destination, source] : std::exchange(server.router.takes, {})) {
        server.print(route_text(router, destination));
        router_event event{.kind = "take",
                           .client = client,
                           .destination = index_of(router.destinations, destination),
                           .by = by};
        if (source != NO_SOURCE) event.source = index_of(router.sources, source);
        print_event(server, event);
    }
}

void print_rename(const simulator_server& server, bool is_source, std::size_t position)
{
    const port_list& ports = is_source ? server.router.sources : server.router.destinations;
    router_event event{.kind = "rename", .name = ports.names[position]};
    (is_source ? event.source : event.destination) = index_of(ports, position);
    print_event(server, event);
}

void print_right(const simulator_server& server, const char* kind, std::size_t destination,
                 std::optional<std::size_t> source, const char* by)
{
    const simulated_router& router = server.router;
    router_event event{
        .kind = kind, .destination = index_of(router.destinations, destination), .by = by};
    if (source) event.source = index_of(router.sources, *source);
    print_event(server, event);
}

std::string client_text(int number)
{
    return "client " + std::to_string(number);
}

void trace_line(const simulator_server& server, int client, char direction, const std::string& text)
{
    if (!server.trace) return;
    server.print(seconds_text(now_us() - server.started, 4) + " " + client_text(client) + " " +
                 direction + " " + text);
}

int add_connection(simulator_server& server, int descriptor, const std::string& peer)
{
    const int number = ++server.last_client;
    connected_client& client = server.clients[number];
    client.descriptor = descriptor;
    client.peer = peer;
    server.router.clients[number] = {};
    server.print(client_text(number) + " connected from " + peer);
    print_event(server, {.kind = "connected", .client = number});
    return number;
}

void remove_client(simulator_server& server, int number, const std::string& reason)
{
    close(server.clients.at(number).descriptor);
    server.clients.erase(number);
    server.router.clients.erase(number);
    server.accepting = true;
    server.print(client_text(number) + " " + reason);
    print_event(server, {.kind = "gone", .client = number});
}

void drop_clients(simulator_server& server)
{
    while (!server.clients.empty())
        remove_client(server, server.clients.begin()->first, "dropped");
}

namespace {
// A failure other than a full socket shows again, as the end of the stream, when reading.
void write_ready(connected_client& client)
{
    std::string& ready = client.output.ready;
    make_ready(client.output, now_us());
    if (ready.empty() || client.stopped.writing) return;
    const ssize_t count =
        send(client.descriptor, ready.data(), ready.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count > 0) ready.erase(0, static_cast<std::size_t>(count));
}
} // namespace

void write_output(simulator_server& server, int number)
{
    connected_client& client = server.clients.at(number);
    write_ready(client);
    if (queued_size(client.output) + client.behind_next.size() > MAX_WAITING_OUTPUT)
        remove_client(server, number, "dropped: it does not read what it is sent");
}

shaped_reply plain_reply(const std::vector<router_message>& messages, us_time_t delay_us)
{
    shaped_reply reply{.pieces = {}, .delay_us = delay_us, .repeated = {}};
    for (const router_message& message : messages) {
        reply_piece& frame = reply.pieces.emplace_back();
        const bool fits = encode_router_message(message, frame.bytes);
        CHECK(fits);
    }
    return reply;
}

void send_reply(simulator_server& server, int number, const shaped_reply& reply)
{
    connected_client& client = server.clients.at(number);
    us_time_t due = now_us() + reply.delay_us + reply.late_us;
    for (const auto& [pause_us, bytes] : reply.pieces) {
        if (reply.behind_next)
            client.behind_next += bytes;
        else if (reply.late_us != 0)
            queue_late(client.output, due, bytes);
        else
            due = queue_in_order(client.output, due + pause_us, bytes);
    }
    const bool is_passed_by_it = !reply.pieces.empty() && !reply.behind_next;
    if (is_passed_by_it && !client.behind_next.empty())
        queue_in_order(client.output, now_us(), std::exchange(client.behind_next, {}));
    write_output(server, number);
}

void send_bytes(simulator_server& server, int number, const std::string& bytes)
{
    connected_client& client = server.clients.at(number);
    if (client.stopped.answering) return;
    queue_in_order(client.output, now_us(), bytes);
    write_output(server, number);
}

void send_messages(simulator_server& server, const std::vector<addressed_message>& messages)
{
    for (const auto& [number, message] : messages) {
        if (!server.clients.contains(number)) continue;
        trace_line(server, number, '<', readable_message(message));
        send_bytes(server, number, plain_reply({message}).pieces[0].bytes);
    }
}

} // namespace router_simulator
