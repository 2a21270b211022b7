#include "router_simulator/wire/listener.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace router_simulator {

namespace {
constexpr int MAX_WAITING_CONNECTIONS = 64; // not accepted yet

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

bool start_listening(simulator_server& server, const std::string& address, std::uint16_t port,
                     std::string& error)
{
    sockaddr_in bound{};
    bound.sin_family = AF_INET;
    bound.sin_port = htons(port);
    const bool is_address = inet_pton(AF_INET, address.c_str(), &bound.sin_addr) == 1;
    if (is_address) server.listener = listening_socket(bound, server.receive_buffer);
    if (server.listener >= 0) return true;
    error = "Cannot listen on " + address + ":" + std::to_string(port) + ": " +
            (is_address ? std::strerror(errno) : "not an IPv4 address");
    return false;
}

std::string listening_address(const simulator_server& server)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(server.listener, generic(address), &size);
    return address_text(address);
}

namespace {
// Answers are single small frames: held back for a fuller packet they would come late.
void send_at_once(int descriptor)
{
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}
} // namespace

int accept_connection(simulator_server& server, std::string& peer)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    const int descriptor =
        accept4(server.listener, generic(address), &size, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (descriptor >= 0) {
        send_at_once(descriptor);
        peer = address_text(address);
    } else if (errno == EMFILE || errno == ENFILE) {
        // The client stays waiting, and would keep the loop turning.
        server.accepting = false;
        server.print(std::string("Cannot accept a client: ") + std::strerror(errno));
    }
    return descriptor;
}

// The listener stays bound, so that nobody else can have its port meanwhile.
void set_refusing(simulator_server& server, bool refusing)
{
    if (std::exchange(server.refusing, refusing) == refusing || server.listener < 0) return;
    if (refusing)
        shutdown(server.listener, SHUT_RDWR);
    else
        listen(server.listener, MAX_WAITING_CONNECTIONS);
}

} // namespace router_simulator
