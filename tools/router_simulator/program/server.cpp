#include "router_simulator/program/server.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "router_simulator/scenario/answering.h"
#include "router_simulator/scenario/connection_faults.h"

namespace router_simulator {

namespace {
constexpr std::size_t READ_SIZE = 4096;
constexpr us_time_t LONGEST_WAIT_MS = 3'600'000;

sockaddr* generic(sockaddr_in& address)
{
    return reinterpret_cast<sockaddr*>(&address); // the socket interface's own cast
}

std::string address_text(const sockaddr_in& address)
{
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    return std::string(text) + ":" + std::to_string(ntohs(address.sin_port));
}

// Returns -1, with errno set, when there is none. The address has the real port afterwards.
int bound_socket(sockaddr_in& address)
{
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (descriptor < 0) return -1;
    const int on = 1;
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    socklen_t size = sizeof address;
    if (bind(descriptor, generic(address), size) == 0) {
        getsockname(descriptor, generic(address), &size);
        return descriptor;
    }
    const int error = errno;
    close(descriptor);
    errno = error;
    return -1;
}

// For the clients of this listener. The room that a client has for what it sends grows with the
// segment, so that is the least there is.
void make_room_small(int listener, int receive_buffer)
{
    setsockopt(listener, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
    const int segment = 88;
    setsockopt(listener, IPPROTO_TCP, TCP_MAXSEG, &segment, sizeof segment);
}

// A socket that has asked for its port by number keeps it while it does not listen.
int listening_socket(sockaddr_in& address, int receive_buffer)
{
    const bool any_port = address.sin_port == 0;
    int descriptor = bound_socket(address);
    if (descriptor < 0) return -1;
    if (any_port) {
        const int reserving = std::exchange(descriptor, bound_socket(address));
        close(reserving);
        if (descriptor < 0) return -1;
    }
    if (receive_buffer > 0) make_room_small(descriptor, receive_buffer);
    if (listen(descriptor, MAX_WAITING_CONNECTIONS) == 0) return descriptor;
    const int error = errno;
    close(descriptor);
    errno = error;
    return -1;
}
} // namespace

std::string start_listening(simulator_server& server, const std::string& address,
                            std::uint16_t port)
{
    const std::string failure = "Cannot listen on " + address + ":" + std::to_string(port) + ": ";
    sockaddr_in bound{};
    bound.sin_family = AF_INET;
    bound.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &bound.sin_addr) != 1)
        return failure + "not an IPv4 address";
    server.listener = listening_socket(bound, server.receive_buffer);
    return server.listener >= 0 ? "" : failure + std::strerror(errno);
}

std::string listening_address(const simulator_server& server)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(server.listener, generic(address), &size);
    return address_text(address);
}

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

// Answers are single small frames: held back for a fuller packet they would come late.
void send_at_once(int descriptor)
{
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void accept_clients(simulator_server& server)
{
    for (;;) {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        const int descriptor =
            accept4(server.listener, generic(address), &size, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (descriptor >= 0) {
            send_at_once(descriptor);
            add_client(server, descriptor, address_text(address));
            continue;
        }
        if (errno == EMFILE || errno == ENFILE) {
            // The client stays waiting, and would keep the loop turning.
            server.accepting = false;
            server.print(std::string("Cannot accept a client: ") + std::strerror(errno));
        }
        return;
    }
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
    const bool refuses = server.lasting.contains(fault_kind::refuse);
    return server.accepting && !refuses ? server.listener : -1;
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
