#include "soak/other_port.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace soak {

namespace {
constexpr int MOST_WAITING = 16;

sockaddr* generic(sockaddr_in& address)
{
    return reinterpret_cast<sockaddr*>(&address); // the socket interface's own cast
}
} // namespace

bool open_other_port(other_port& port, std::string& error)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    common::owned_descriptor& listener = port.listener;
    listener =
        common::owned_descriptor(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (listener.number < 0 || bind(listener.number, generic(address), size) != 0 ||
        listen(listener.number, MOST_WAITING) != 0 ||
        getsockname(listener.number, generic(address), &size) != 0) {
        error = std::string("Cannot listen on 127.0.0.1: ") + std::strerror(errno);
        return false;
    }
    port.number = ntohs(address.sin_port);
    return true;
}

bool was_visited(const other_port& port)
{
    bool visited = false;
    for (int client; (client = accept(port.listener.number, nullptr, nullptr)) >= 0; close(client))
        visited = true;
    return visited;
}

} // namespace soak
