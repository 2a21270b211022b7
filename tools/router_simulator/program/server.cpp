#include "router_simulator/program/server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "router_simulator/scenario/answering.h"
#include "router_simulator/scenario/player.h"
#include "router_simulator/wire/listener.h"

namespace router_simulator {

namespace {
constexpr std::size_t READ_SIZE = 4096;
constexpr us_time_t LONGEST_WAIT_MS = 3'600'000;
} // namespace

int add_client(simulator& simulated, int descriptor, const std::string& peer)
{
    const int number = add_connection(simulated.server, descriptor, peer);
    do_connection_steps(simulated, number);
    return number;
}

void stop_server(simulator& simulated)
{
    simulator_server& server = simulated.server;
    drop_clients(server);
    if (server.listener >= 0) close(server.listener);
    server.listener = -1;
}

namespace {
short awaited_events(const connected_client& client)
{
    if (client.stopped.writing) return POLLRDHUP;
    const int reading = client.stopped.reading ? 0 : POLLIN;
    const int writing = client.output.ready.empty() ? 0 : POLLOUT;
    return static_cast<short>(reading | writing);
}

void serve_client(simulator& simulated, int number, int ready)
{
    simulator_server& server = simulated.server;
    const connected_client& client = server.clients.at(number);
    if (client.stopped.writing)
        return remove_client(server, number, "closed its half of a forgotten connection");
    const int descriptor = client.descriptor;
    if ((ready & POLLOUT) != 0) write_output(server, number);
    if ((ready & ~POLLOUT) == 0 || !server.clients.contains(number)) return;
    char bytes[READ_SIZE];
    const ssize_t count = recv(descriptor, bytes, sizeof bytes, MSG_DONTWAIT);
    if (count > 0)
        answer_bytes(simulated, number, {bytes, static_cast<std::size_t>(count)});
    else if (count == 0)
        remove_client(server, number, "closed its connection");
    else if (errno != EAGAIN && errno != EINTR)
        remove_client(server, number, std::string("lost: ") + std::strerror(errno));
}

// No longer than until something is due.
int bounded_wait(const simulator& simulated, int wait_ms)
{
    const us_time_t due = next_due(simulated);
    if (due == NEVER) return wait_ms;
    const us_time_t now = now_us();
    const us_time_t until_due = due <= now ? 0 : (due - now + 999) / 1000;
    if (wait_ms >= 0 && until_due > static_cast<us_time_t>(wait_ms)) return wait_ms;
    return static_cast<int>(std::min<us_time_t>(until_due, LONGEST_WAIT_MS));
}
} // namespace

void serve(simulator& simulated, int wait_ms, std::span<pollfd> also_watched)
{
    simulator_server& server = simulated.server;
    do_due_steps(simulated);
    std::vector<pollfd> watched(also_watched.begin(), also_watched.end());
    // Poll passes over -1. A listener that refuses would report that it has ended.
    const int listener = server.accepting && !server.refusing ? server.listener : -1;
    watched.push_back({.fd = listener, .events = POLLIN, .revents = 0});
    std::vector<int> numbers;
    for (const auto& [number, client] : server.clients) {
        watched.push_back(
            {.fd = client.descriptor, .events = awaited_events(client), .revents = 0});
        numbers.push_back(number);
    }
    // Interrupted by a signal, poll leaves the results as they were.
    if (poll(watched.data(), watched.size(), bounded_wait(simulated, wait_ms)) < 0)
        for (pollfd& each : watched)
            each.revents = 0;
    std::copy_n(watched.begin(), also_watched.size(), also_watched.begin());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const short ready = watched[also_watched.size() + 1 + i].revents;
        // The answers to another client may have ended this one.
        if (ready != 0 && server.clients.contains(numbers[i]))
            serve_client(simulated, numbers[i], ready);
    }
    if (watched[also_watched.size()].revents == 0) return;
    std::string peer;
    for (int descriptor = accept_connection(server, peer); descriptor >= 0;
         descriptor = accept_connection(server, peer))
        add_client(simulated, descriptor, peer);
}

} // namespace router_simulator
