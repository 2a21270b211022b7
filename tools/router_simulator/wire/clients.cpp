#include "router_simulator/wire/clients.h"

#include <algorithm>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "router_simulator/wire/trace.h"

namespace router_simulator {

void print_event(const simulator_server& server, const router_event& event)
{
    const us_time_t elapsed = now_us() - server.started;
    if (server.plan) server.print(readable_event(event, elapsed));
    if (server.json_events) server.print(json_event(event, elapsed));
}

void print_takes(simulator_server& server, const char* by, std::optional<int> client)
{
    const simulated_router& router = server.router;
    for (const auto& [destination, source] : std::exchange(server.router.takes, {}))
        print_event(server, {.kind = "take",
                             .client = client,
                             .destination = index_of(router.destinations, destination),
                             .source = index_of(router.sources, source),
                             .by = by});
}

void print_rename(const simulator_server& server, bool is_source, std::size_t position)
{
    const port_list& ports = is_source ? server.router.sources : server.router.destinations;
    router_event event{.kind = "rename", .name = ports.names[position]};
    (is_source ? event.source : event.destination) = index_of(ports, position);
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

int add_link(simulator_server& server, int descriptor, const std::string& peer)
{
    const int number = ++server.last_client;
    client_link& link = server.links[number];
    link.descriptor = descriptor;
    link.peer = peer;
    server.router.clients[number] = {};
    server.print(client_text(number) + " connected from " + peer);
    print_event(server, {.kind = "connected", .client = number});
    return number;
}

void remove_client(simulator_server& server, int number, const std::string& reason)
{
    close(server.links.at(number).descriptor);
    server.links.erase(number);
    server.router.clients.erase(number);
    std::erase_if(server.streams,
                  [number](const message_stream& each) { return each.client == number; });
    server.accepting = true;
    server.print(client_text(number) + " " + reason);
    print_event(server, {.kind = "gone", .client = number});
}

void drop_clients(simulator_server& server)
{
    while (!server.links.empty())
        remove_client(server, server.links.begin()->first, "dropped");
}

bool is_under(const client_link& link, fault_kind fault)
{
    return link.lasting.contains(fault);
}

bool is_mute(const client_link& link)
{
    return is_under(link, fault_kind::silence) || is_under(link, fault_kind::ignore) ||
           is_under(link, fault_kind::half_open);
}

bool is_deaf(const client_link& link)
{
    return is_under(link, fault_kind::stop_reading) || is_under(link, fault_kind::ignore) ||
           is_under(link, fault_kind::half_open);
}

namespace {
// A failure other than a full socket shows again, as the end of the stream, when reading.
void write_ready(client_link& link)
{
    std::string& ready = link.output.ready;
    make_ready(link.output, now_us());
    if (ready.empty() || is_under(link, fault_kind::half_open)) return;
    const ssize_t count =
        send(link.descriptor, ready.data(), ready.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count > 0) ready.erase(0, static_cast<std::size_t>(count));
}
} // namespace

void write_output(simulator_server& server, int number)
{
    client_link& link = server.links.at(number);
    write_ready(link);
    if (queued_size(link.output) > MAX_WAITING_OUTPUT)
        remove_client(server, number, "dropped: it does not read what it is sent");
}

namespace {
void queue_reply(client_link& link, const shaped_reply& reply, us_time_t delay_us)
{
    us_time_t due = now_us() + delay_us + reply.late_us;
    for (const auto& [pause_us, bytes] : reply.pieces) {
        if (reply.behind_next)
            link.behind_next += bytes;
        else if (reply.late_us != 0)
            queue_late(link.output, due, bytes);
        else
            due = queue_in_order(link.output, due + pause_us, bytes);
    }
    const bool is_passed_by_it = !reply.pieces.empty() && !reply.behind_next;
    if (is_passed_by_it && !link.behind_next.empty())
        queue_in_order(link.output, now_us(), std::exchange(link.behind_next, {}));
}
} // namespace

void send_reply(simulator_server& server, int number, const shaped_reply& reply, us_time_t delay_us)
{
    queue_reply(server.links.at(number), reply, delay_us);
    write_output(server, number);
}

void send_bytes(simulator_server& server, int number, const std::string& bytes)
{
    client_link& link = server.links.at(number);
    if (is_mute(link)) return;
    queue_in_order(link.output, now_us(), bytes);
    write_output(server, number);
}

void send_messages(simulator_server& server, const std::vector<addressed_message>& messages)
{
    for (const auto& [number, message] : messages) {
        if (!server.links.contains(number)) continue;
        trace_line(server, number, '<', readable_message(message));
        for (const reply_piece& piece : plain_reply({message}).pieces)
            send_bytes(server, number, piece.bytes);
    }
}

} // namespace router_simulator
