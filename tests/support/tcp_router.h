// A router on 127.0.0.1 that a test plays: one client at a time, whose requests are kept as
// readable text and answered from a table. Nothing here waits.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <poll.h>
#include <string>
#include <string_view>
#include <vector>

struct tcp_router {
    int listener = -1;
    bool listening = false;
    int client = -1;                  // -1: nobody is connected
    std::uint16_t port = 0;           // stays the same when the router listens again
    bool reads = true;                // clear: what the client sends is left in the socket
    int connections = 0;              // how many were accepted so far
    int endings = 0;                  // how many of them the client has ended
    std::string unread;               // the beginning of a frame
    std::deque<std::string> requests; // oldest first; the test may remove entries
    std::map<std::string, std::string> answers; // bytes sent at once for a request

    tcp_router() = default;
    tcp_router(const tcp_router&) = delete;
    tcp_router& operator=(const tcp_router&) = delete;
    ~tcp_router();
};

// The answers of a healthy router with sources CAM 1 to CAM 4 and destinations MON 1 and MON 2,
// indexes from 1, source 3 on both.
std::map<std::string, std::string> healthy_answers();

// Takes a free port without listening: connections are refused.
void reserve_port(tcp_router& router);
// Listens, on a free port unless one is reserved. A backlog of 0 lets one connection wait for
// accept and leaves any other without an answer.
void listen_for_client(tcp_router& router, int backlog = 8);

// Connects to it like any client. The descriptor is the caller's.
int connect_to(const tcp_router& router);

void send_bytes(tcp_router& router, std::string_view bytes);
// In order, after everything sent. What the client sends until it closes too is still received.
void close_client(tcp_router& router);
void reset_client(tcp_router& router); // the client sees "Connection reset by peer"

// How often the request has been received and not been removed.
long count_requests(const tcp_router& router, const std::string& request);

// How much the client of this port has written that has not arrived.
std::size_t bytes_unsent_to(std::uint16_t port);

void add_poll_descriptors(const tcp_router& router, std::vector<pollfd>& descriptors);
// Accepts, receives and answers what is there.
void serve_router(tcp_router& router);
