#include "support/tcp_router.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

#include "support/descriptors.h"
#include "support/frames.h"

tcp_router::~tcp_router()
{
    close_if_open(client);
    close_if_open(listener);
}

namespace {
std::string name_answer(const char* kind, std::vector<std::string> entries)
{
    entries.insert(entries.begin(), kind);
    return frame(body("NQ", entries));
}
} // namespace

std::map<std::string, std::string> healthy_answers()
{
    return {
        {"BK N", frame(body("KB", {"N", "TX4"}))},
        {"BK R", frame(body("KB", {"R", "r7"}))},
        {"BK T", frame(body("KB", {"T", "Suite 2"}))},
        {"QN L", name_answer("L", {"1", "VIDEO", "0", "0"})},
        {"QN IS", name_answer("S", {"4", "CAM 1", "1", "0", "0", "CAM 2", "2", "0", "0", //
                                    "CAM 3", "3", "0", "0", "CAM 4", "4", "0", "0"})},
        {"QN ID", name_answer("D", {"2", "MON 1", "1", "0", "0", "MON 2", "2", "0", "0"})},
        {"QI 1 0", frame(body("IQ", {"1", "0", "N", "N", "3"}))},
        {"QI 2 0", frame(body("IQ", {"2", "0", "N", "N", "3"}))},
        {"BK F", frame(body("KB", {"F", "0"}))},
        {"BK f 0", frame(body("ER", {"00", "BK"}))},
        {"QD", frame(body("ER", {"00", "QD"}))},
    };
}

namespace {
sockaddr* generic(sockaddr_in& address)
{
    return reinterpret_cast<sockaddr*>(&address); // the socket interface's own cast
}

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}
} // namespace

void reserve_port(tcp_router& router)
{
    router.listener = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    checked(bind(router.listener, generic(address), size));
    checked(getsockname(router.listener, generic(address), &size));
    router.port = ntohs(address.sin_port);
}

void listen_for_client(tcp_router& router, int backlog)
{
    if (router.listener < 0) reserve_port(router);
    checked(listen(router.listener, backlog));
    router.listening = true;
}

int connect_to(const tcp_router& router)
{
    const int descriptor = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = loopback(router.port);
    checked(connect(descriptor, generic(address), sizeof address));
    return descriptor;
}

void send_bytes(tcp_router& router, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = send(router.client, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0) return; // the client has gone, which the next receive shows
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void close_client(tcp_router& router)
{
    shutdown(router.client, SHUT_WR);
}

namespace {
void forget_client(tcp_router& router)
{
    close_if_open(router.client);
    router.unread.clear();
}
} // namespace

void reset_client(tcp_router& router)
{
    const linger at_once = {.l_onoff = 1, .l_linger = 0};
    checked(setsockopt(router.client, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once));
    forget_client(router);
}

long count_requests(const tcp_router& router, const std::string& request)
{
    return std::count(router.requests.begin(), router.requests.end(), request);
}

// A line for each socket: "2: 0100007F:C350 0100007F:3039 01 0000A3F0:00000000 ...", which are its
// address, the peer's, the state and what its two queues hold.
std::size_t bytes_unsent_to(std::uint16_t port)
{
    std::ifstream sockets("/proc/net/tcp");
    for (std::string line; std::getline(sockets, line);) {
        unsigned peer_port = 0;
        unsigned state = 0;
        unsigned unsent = 0;
        if (std::sscanf(line.c_str(), " %*d: %*x:%*x %*x:%x %x %x", &peer_port, &state, &unsent) ==
                3 &&
            peer_port == port && state == TCP_ESTABLISHED)
            return unsent;
    }
    return 0;
}

void add_poll_descriptors(const tcp_router& router, std::vector<pollfd>& descriptors)
{
    if (router.listening && router.client < 0) descriptors.push_back({router.listener, POLLIN, 0});
    if (router.client >= 0 && router.reads) descriptors.push_back({router.client, POLLIN, 0});
}

namespace {
void accept_client(tcp_router& router)
{
    router.client = accept4(router.listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (router.client >= 0) ++router.connections;
}

void cut_requests(tcp_router& router)
{
    for (std::size_t end = 0; (end = router.unread.find('\x04')) != std::string::npos;) {
        const std::string request = readable_request(router.unread.substr(0, end + 1));
        router.unread.erase(0, end + 1);
        router.requests.push_back(request);
        const auto answer = router.answers.find(request);
        if (answer != router.answers.end()) send_bytes(router, answer->second);
    }
}

void receive_requests(tcp_router& router)
{
    char bytes[4096];
    const ssize_t count = recv(router.client, bytes, sizeof bytes, MSG_DONTWAIT);
    if (count > 0) {
        router.unread.append(bytes, static_cast<std::size_t>(count));
        cut_requests(router);
    } else if (count == 0 || errno != EAGAIN) {
        forget_client(router);
        ++router.endings;
    }
}
} // namespace

void serve_router(tcp_router& router)
{
    if (router.listening && router.client < 0) accept_client(router);
    if (router.client >= 0 && router.reads) receive_requests(router);
}
