// The bounds of what a stranger can make the server hold, and what happens beyond each of them.
// A refusal is a problem (problem.h), after which the connection closes.
#pragma once

#include <chrono>
#include <cstddef>

namespace web {

constexpr std::size_t LONGEST_HEAD = 16'384;    // request line and headers, bytes: 431
constexpr std::size_t LONGEST_BODY = 1'048'576; // of a request, bytes: 413, before it is read
constexpr std::size_t LONGEST_MESSAGE = 65'536; // to a WebSocket, bytes: closed with 1009
constexpr int MESSAGES_A_SECOND = 50;           // to a WebSocket, on average, pings
constexpr int MESSAGES_AT_ONCE = 200;           // included: closed with 1008
constexpr std::size_t BYTES_IN_SYSTEM = 128
                                        << 10; // that the system holds of a connection, each way

// Those that depend on where the server stands. What is longer under way, or idle, is looked for
// four times a second.
struct transport_limits {
    // All of them: the one that has waited longest for a whole request goes; if every one is being
    // served, the new one goes.
    std::size_t connections = 4000;
    // Of one address but 127.0.0.1 and ::1, where proxies and programs are: 429.
    std::size_t connections_per_address = 200;

    // Bytes of all bodies that are on their way, together: 503. What has come whole with the head
    // is not, so that whatever is asked for in few words goes on.
    std::size_t bodies = 64 << 20;

    std::chrono::milliseconds handshake{10'000}; // TLS: closed
    std::chrono::milliseconds request{10'000};   // from its first byte to its last: 408
    std::chrono::milliseconds idle{60'000};      // before a request's first byte: closed
    // In which a client takes some of what it is sent, an answer or a stream: cut off.
    std::chrono::milliseconds taking{30'000};
    // For the other end to close too, after our end has: cut off.
    std::chrono::milliseconds closing{2'000};
    std::chrono::milliseconds retry{100}; // of accepting, after the system had no descriptor left
};

} // namespace web
