#include "router_simulator/server.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "common/check.h"
#include "router_simulator/answers.h"
#include "router_simulator/trace.h"

constexpr std::size_t READ_SIZE = 4096;
constexpr int WAITING_CONNECTIONS = 64; // not accepted yet

static sockaddr* generic(sockaddr_in& address)
{
    return reinterpret_cast<sockaddr*>(&address); // the socket interface's own cast
}

static std::string address_text(const sockaddr_in& address)
{
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    return std::string(text) + ":" + std::to_string(ntohs(address.sin_port));
}

std::string start_listening(simulator_server& server, const std::string& address,
                            std::uint16_t port)
{
    const std::string failure = "Cannot listen on " + address + ":" + std::to_string(port) + ": ";
    sockaddr_in bound{};
    bound.sin_family = AF_INET;
    bound.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &bound.sin_addr) != 1)
        return failure + "not an IPv4 address";
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (descriptor < 0) return failure + std::strerror(errno);
    const int on = 1;
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (bind(descriptor, generic(bound), sizeof bound) != 0 ||
        listen(descriptor, WAITING_CONNECTIONS) != 0) {
        const int error = errno;
        close(descriptor);
        return failure + std::strerror(error);
    }
    server.listener = descriptor;
    return "";
}

std::string listening_address(const simulator_server& server)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(server.listener, generic(address), &size);
    return address_text(address);
}

static std::string client_text(int number)
{
    return "client " + std::to_string(number);
}

// `direction` is > for what a client sent and < for what it is sent.
static void trace_line(const simulator_server& server, int client, char direction,
                       const std::string& text)
{
    if (!server.trace) return;
    const us_time_t elapsed = now_us() - server.started;
    char time[32];
    std::snprintf(time, sizeof time, "%4llu.%06llu ",
                  static_cast<unsigned long long>(elapsed / 1'000'000),
                  static_cast<unsigned long long>(elapsed % 1'000'000));
    server.print(time + client_text(client) + " " + direction + " " + text);
}

int add_client(simulator_server& server, int descriptor, const std::string& peer)
{
    const int number = ++server.last_client;
    client_link& link = server.links[number];
    link.descriptor = descriptor;
    link.peer = peer;
    server.router.clients[number] = {};
    server.print(client_text(number) + " connected from " + peer);
    return number;
}

static void remove_client(simulator_server& server, int number, const std::string& reason)
{
    close(server.links.at(number).descriptor);
    server.links.erase(number);
    server.router.clients.erase(number);
    server.accepting = true;
    server.print(client_text(number) + " " + reason);
}

void drop_clients(simulator_server& server)
{
    while (!server.links.empty())
        remove_client(server, server.links.begin()->first, "dropped");
}

void stop_server(simulator_server& server)
{
    drop_clients(server);
    if (server.listener >= 0) close(server.listener);
    server.listener = -1;
}

// A failure other than a full socket shows again, as the end of the stream, when reading.
static void write_output(client_link& link)
{
    if (link.output.empty()) return;
    const ssize_t count =
        send(link.descriptor, link.output.data(), link.output.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count > 0) link.output.erase(0, static_cast<std::size_t>(count));
}

void send_messages(simulator_server& server, const std::vector<addressed_message>& messages)
{
    for (const auto& [number, message] : messages) {
        const auto found = server.links.find(number);
        if (found == server.links.end()) continue;
        std::string frame;
        const bool fits = encode_router_message(message, frame);
        CHECK(fits);
        trace_line(server, number, '<', readable_message(message));
        found->second.output += frame;
    }
    for (const auto& [number, message] : messages) {
        const auto found = server.links.find(number);
        if (found == server.links.end()) continue;
        write_output(found->second);
        if (found->second.output.size() > MAX_WAITING_OUTPUT)
            remove_client(server, number, "dropped: it does not read what it is sent");
    }
}

static void answer_bytes(simulator_server& server, int number, std::string_view bytes)
{
    std::vector<addressed_message> answers;
    const std::vector<parsed_frame> frames = parse_requests(server.links.at(number).parser, bytes);
    for (const parsed_frame& frame : frames) {
        // An earlier answer may have been the one too many.
        if (!server.links.contains(number)) return;
        trace_line(server, number, '>', readable_frame(frame));
        send_messages(server, answer_frame(server.router, number, frame));
    }
}

static void read_requests(simulator_server& server, int number)
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
static void send_at_once(int descriptor)
{
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

static void accept_clients(simulator_server& server)
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

void serve(simulator_server& server, int wait_ms, std::span<pollfd> also_watched)
{
    std::vector<pollfd> watched(also_watched.begin(), also_watched.end());
    const int listener = server.accepting ? server.listener : -1; // poll passes over -1
    watched.push_back({.fd = listener, .events = POLLIN, .revents = 0});
    std::vector<int> numbers;
    for (const auto& [number, link] : server.links) {
        const auto events = static_cast<short>(link.output.empty() ? POLLIN : POLLIN | POLLOUT);
        watched.push_back({.fd = link.descriptor, .events = events, .revents = 0});
        numbers.push_back(number);
    }
    // Interrupted by a signal, poll leaves the results as they were.
    if (poll(watched.data(), watched.size(), wait_ms) < 0)
        for (pollfd& each : watched)
            each.revents = 0;
    std::copy_n(watched.begin(), also_watched.size(), also_watched.begin());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const short ready = watched[also_watched.size() + 1 + i].revents;
        // The answers to another client may have ended this one.
        const auto found = server.links.find(numbers[i]);
        if (ready == 0 || found == server.links.end()) continue;
        if ((ready & POLLOUT) != 0) write_output(found->second);
        if ((ready & ~POLLOUT) != 0) read_requests(server, numbers[i]);
    }
    if (watched[also_watched.size()].revents != 0) accept_clients(server);
}
