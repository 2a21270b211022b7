#include "router_simulator/program/server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

#include "router_simulator/scenario/answering.h"
#include "router_simulator/scenario/connection_faults.h"
#include "router_simulator/wire/listener.h"

namespace router_simulator {

namespace {
constexpr std::size_t READ_SIZE = 4096;
constexpr us_time_t LONGEST_WAIT_MS = 3'600'000;
} // namespace

int add_client(simulator_server& server, int descriptor, const std::string& peer)
{
    const int number = add_link(server, descriptor, peer);
    do_connection_faults(server, number);
    return number;
}

void begin_scenario(simulator_server& server, const scenario& plan)
{
    server.plan = plan;
    server.started = now_us();
    print_event(server, {.kind = "start", .seed = plan.seed});
}

void stop_server(simulator_server& server)
{
    drop_clients(server);
    if (server.listener >= 0) close(server.listener);
    server.listener = -1;
}

namespace {
void read_requests(simulator_server& server, int number)
{
    char bytes[READ_SIZE];
    const ssize_t count =
        recv(server.links.at(number).descriptor, bytes, sizeof bytes, MSG_DONTWAIT);
    if (count > 0) {
        answer_bytes(server, number, {bytes, static_cast<std::size_t>(count)});
    } else if (count == 0) {
        remove_client(server, number, "closed its connection");
    } else if (errno != EAGAIN && errno != EINTR) {
        remove_client(server, number, std::string("lost: ") + std::strerror(errno));
    }
}

void accept_clients(simulator_server& server)
{
    std::string peer;
    for (int descriptor = accept_connection(server, peer); descriptor >= 0;
         descriptor = accept_connection(server, peer))
        add_client(server, descriptor, peer);
}

short awaited_events(const client_link& link)
{
    if (is_under(link, fault_kind::half_open)) return POLLRDHUP;
    const int reading = is_deaf(link) ? 0 : POLLIN;
    const int writing = link.output.ready.empty() ? 0 : POLLOUT;
    return static_cast<short>(reading | writing);
}

void serve_client(simulator_server& server, int number, int ready)
{
    if (is_under(server.links.at(number), fault_kind::half_open))
        return remove_client(server, number, "closed its half of a forgotten connection");
    if ((ready & POLLOUT) != 0) write_output(server, number);
    if ((ready & ~POLLOUT) != 0 && server.links.contains(number)) read_requests(server, number);
}

// Poll passes over -1. A listener that refuses would report that it has ended.
int awaited_listener(const simulator_server& server)
{
    return server.accepting && !server.refusing ? server.listener : -1;
}

// No longer than until something is due.
int bounded_wait(const simulator_server& server, int wait_ms)
{
    const us_time_t due = next_due_fault(server);
    if (due == NEVER) return wait_ms;
    const us_time_t now = now_us();
    const us_time_t until_due = due <= now ? 0 : (due - now + 999) / 1000;
    if (wait_ms >= 0 && until_due > static_cast<us_time_t>(wait_ms)) return wait_ms;
    return static_cast<int>(std::min<us_time_t>(until_due, LONGEST_WAIT_MS));
}
} // namespace

void serve(simulator_server& server, int wait_ms, std::span<pollfd> also_watched)
{
    do_due_faults(server);
    std::vector<pollfd> watched(also_watched.begin(), also_watched.end());
    watched.push_back({.fd = awaited_listener(server), .events = POLLIN, .revents = 0});
    std::vector<int> numbers;
    for (const auto& [number, link] : server.links) {
        watched.push_back({.fd = link.descriptor, .events = awaited_events(link), .revents = 0});
        numbers.push_back(number);
    }
    // Interrupted by a signal, poll leaves the results as they were.
    if (poll(watched.data(), watched.size(), bounded_wait(server, wait_ms)) < 0)
        for (pollfd& each : watched)
            each.revents = 0;
    std::copy_n(watched.begin(), also_watched.size(), also_watched.begin());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const short ready = watched[also_watched.size() + 1 + i].revents;
        // The answers to another client may have ended this one.
        if (ready != 0 && server.links.contains(numbers[i]))
            serve_client(server, numbers[i], ready);
    }
    if (watched[also_watched.size()].revents != 0) accept_clients(server);
}

} // namespace router_simulator
