#include "router_link/connection.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include "common/log.h"
#include "common/loop_flags.h"
#include "frame/settings.h"
#include "router_link/receive_parser.h"

namespace {
constexpr int DEFAULT_ROUTER_PORT = 12345;
constexpr us_time_t RETRY_INTERVAL_US = 5'000'000; // between the starts of two attempts
constexpr us_time_t SILENCE_LIMIT_US = 20'000'000;
constexpr timeval PROGRESS_WAIT = {0, 1'000};
constexpr std::size_t READ_SIZE = 4096;

// Messages that may wait before reading pauses: a router that sends faster than its messages are
// used is held back by TCP instead of filling the memory.
constexpr std::size_t MAX_QUEUED_MESSAGES = 4096;
} // namespace

int router_fd = -1;
bool connect_in_progress = false;
us_time_t next_connect_attempt = 0;
std::string router_tx_buffer;
std::size_t router_tx_offset = 0;

bool router_link_is_up()
{
    return router_fd >= 0 && !connect_in_progress;
}

namespace {
sockaddr* generic(sockaddr_in& address)
{
    return reinterpret_cast<sockaddr*>(&address); // the socket interface's own cast
}

// select cannot watch a descriptor of FD_SETSIZE or above: setting its bit would write beyond the
// set. Such a socket is refused like one that could not be created.
int create_router_socket()
{
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (descriptor < FD_SETSIZE) return descriptor;
    close(descriptor);
    return -1;
}

// Otherwise TCP keeps the second change of a burst back until the first has been acknowledged: some
// 40 ms, more than a frame of video, where the router does not answer changes.
void send_without_delay(int descriptor)
{
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

// Returns false when the configured text is no address.
bool read_router_address(sockaddr_in& address)
{
    const int port = router_port >= 1 ? router_port : DEFAULT_ROUTER_PORT;
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return inet_aton(router_ip_address.c_str(), &address.sin_addr) != 0;
}

void start_connect_attempt()
{
    const us_time_t now = now_us();
    if (now < next_connect_attempt || router_ip_address.empty()) return;
    connect_in_progress = false;
    next_connect_attempt = now + RETRY_INTERVAL_US;
    last_router_activity = now;

    sockaddr_in address{};
    if (!read_router_address(address)) {
        log_error("Cannot connect, cannot parse IP address");
        return;
    }
    router_fd = create_router_socket();
    if (router_fd < 0) {
        log_error("Cannot connect, cannot create socket");
        return;
    }
    send_without_delay(router_fd);
    if (connect(router_fd, generic(address), sizeof address) == 0) {
        log_note("Connected to router, right away");
        discovery_needed = true;
    } else if (errno == EINPROGRESS) {
        log_note("Trying to connect to router...");
        connect_in_progress = true;
    } else {
        log_error("Failed to connect to router, %s", std::strerror(errno));
        close_router_connection();
    }
}

void check_connect_progress()
{
    fd_set writable;
    FD_ZERO(&writable);
    FD_SET(router_fd, &writable);
    if (wait_for_descriptors(router_fd + 1, nullptr, &writable, PROGRESS_WAIT) <= 0) return;
    int error = 0;
    socklen_t error_size = sizeof error;
    getsockopt(router_fd, SOL_SOCKET, SO_ERROR, &error, &error_size);
    if (error == 0) {
        log_note("Connection sucessful.");
        connect_in_progress = false;
        discovery_needed = true;
    } else {
        log_error("Connection failed, %s", std::strerror(error));
        close_router_connection();
    }
}
} // namespace

void connect_to_router()
{
    if (router_fd < 0) start_connect_attempt();
    if (router_fd >= 0 && connect_in_progress) check_connect_progress();
}

namespace {
// The reactions of reading and writing to a result of 0 or less. EAGAIN means nothing for now.
void handle_link_result(ssize_t result)
{
    if (result == 0) {
        log_note("Connection suddenly dropped");
        close_router_connection();
    } else if (errno != EAGAIN) {
        log_note("Connection problem, %s", std::strerror(errno));
        close_router_connection();
    }
}
} // namespace

void receive_from_router()
{
    if (router_fd < 0) return;
    if (router_rx_queue.size() >= MAX_QUEUED_MESSAGES) {
        last_router_activity = now_us(); // it is we who do not listen; the router is not silent
        return;
    }
    char bytes[READ_SIZE];
    const ssize_t count = read(router_fd, bytes, READ_SIZE);
    if (count > 0) {
        parse_router_bytes({bytes, static_cast<std::size_t>(count)});
    } else {
        handle_link_result(count);
    }
}

namespace {
void flush_router_output()
{
    if (router_tx_offset < router_tx_buffer.size()) {
        // Without MSG_NOSIGNAL a router that has gone away would end the process by SIGPIPE.
        const ssize_t count = send(router_fd, router_tx_buffer.data() + router_tx_offset,
                                   router_tx_buffer.size() - router_tx_offset, MSG_NOSIGNAL);
        if (count > 0) {
            router_tx_offset += static_cast<std::size_t>(count);
        } else {
            handle_link_result(count);
        }
    }
    if (router_tx_offset == router_tx_buffer.size()) {
        router_tx_buffer.clear();
        router_tx_offset = 0;
    }
}
} // namespace

void service_router_connection()
{
    if (router_fd < 0) return;
    if (connect_in_progress) check_connect_progress();
    receive_from_router(); // does nothing where the check has just closed
    if (router_fd >= 0) flush_router_output();
    if (now_us() >= last_router_activity + SILENCE_LIMIT_US) {
        log_warning("Connection timeout");
        close_router_connection();
    }
}

void close_router_connection()
{
    if (router_fd < 0) return;
    if (close(router_fd) != 0) return; // the state stays untouched on purpose
    log_note("Connection to router closed");
    router_fd = -1;
    discovery_needed = false;
    reset_receive_parser();
    router_tx_buffer.clear();
    router_tx_offset = 0;
}

bool connection_sendmsg(const router_message& message)
{
    if (!router_link_is_up()) return false;
    std::string frame;
    if (!encode_router_message(message, frame)) return false;
    router_tx_buffer += frame;
    flush_router_output();
    log_debug("Send to router: %s", frame.c_str());
    return true;
}
