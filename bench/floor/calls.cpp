#include "calls.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {

int router_fd = -1;

namespace {
char router_bytes[4096];
char last_byte = 0;
} // namespace

void connect_to_router(const char* port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::strtoul(port, nullptr, 10)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    router_fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(router_fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (connect(router_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 &&
        errno != EINPROGRESS)
        std::_Exit(1);
    fd_set writable;
    FD_ZERO(&writable);
    FD_SET(router_fd, &writable);
    timeval timeout = {1, 0};
    select(router_fd + 1, nullptr, &writable, nullptr, &timeout);
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(router_fd, SOL_SOCKET, SO_ERROR, &error, &size);
}

std::string_view read_router()
{
    const ssize_t count = read(router_fd, router_bytes, sizeof router_bytes);
    if (count == 0) std::_Exit(0);
    return {router_bytes, count > 0 ? static_cast<std::size_t>(count) : 0};
}

char read_parent()
{
    char byte = 0;
    if (read(STDIN_FILENO, &byte, 1) == 0) std::_Exit(0);
    return byte;
}

void send_to_router(std::string_view frame)
{
    send(router_fd, frame.data(), frame.size(), MSG_NOSIGNAL);
}

void write_to_parent(std::string_view record)
{
    if (write(STDOUT_FILENO, record.data(), record.size()) < 0) std::_Exit(1);
}

void write_log(std::string_view line)
{
    if (write(STDERR_FILENO, line.data(), line.size()) < 0) std::_Exit(1);
}

void wait_for_work(long microseconds)
{
    fd_set readable;
    FD_ZERO(&readable);
    if (router_fd >= 0) FD_SET(router_fd, &readable);
    FD_SET(STDIN_FILENO, &readable);
    FD_SET(STDOUT_FILENO, &readable);
    timeval timeout = {0, microseconds};
    select((router_fd > 1 ? router_fd : 1) + 1, &readable, nullptr, nullptr, &timeout);
}

bool ends_record(char byte)
{
    const bool ends = byte == '\n' && last_byte == '\n';
    if (byte != '\0') last_byte = byte;
    return ends;
}

} // namespace bench
