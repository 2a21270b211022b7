// One client's connection: who it is, what it is at, and what it is to be sent. What it does is a
// coroutine, which waits on `woken` for whatever comes from elsewhere.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "server/web/byte_stream.h"
#include "server/web/message.h"
#include "server/web/problem.h"
#include "server/web/request_reader.h"
#include "server/web/transport_inside.h"

namespace web {

using instant = std::chrono::steady_clock::time_point;

enum class phase {
    idle,      // or at the handshake of TLS
    reading,   // a request has begun
    answering, // all of what the owner does with it
    closing,
};

enum class answer_kind { none, whole, body, websocket };

struct close_reason {
    int code = 0;
    std::string text;
};

struct connection {
    std::shared_ptr<transport_inside> transport;
    byte_stream stream;
    asio::steady_timer woken;
    std::string address;
    std::string origin; // whose connections are counted together; empty: nobody's

    instant since{};                   // without a whole request; for `phase`s before answering
    instant deadline = instant::max(); // when the connection is cut off, or the request refused
    web::phase phase = phase::idle;
    bool writing = false;  // then the stream's write has a limit as well
    bool too_slow = false; // with its request
    bool gone = false;     // nothing reaches the client any more

    request_reader reader{};
    std::size_t counted = 0;   // bytes of its body, in the transport's `bodies`
    request_id request = 0;    // the one that is answered
    bool without_body = false; // HEAD
    // Of a request for a WebSocket.
    std::optional<std::map<std::string, std::string, std::less<>>> handshake{};

    // What the owner wants.
    answer_kind kind = answer_kind::none;
    web::response response{}; // or the stream's head
    std::string subprotocol{};
    std::deque<std::shared_ptr<const std::string>> queue{};
    std::size_t unsent = 0; // bytes in it and under way
    bool finishing = false;
    std::optional<close_reason> closed_with{};

    connection(std::shared_ptr<transport_inside> shared, asio::ip::tcp::socket socket)
        : transport(std::move(shared)), stream{std::move(socket), {}}, woken(transport->context)
    {
    }
};

// Returns after the next `wake`.
asio::awaitable<void> wait_woken(connection& connection);
void wake(connection& connection);

// Wakes a stream in its turn: what many are told at once goes out in pieces, between which the loop
// looks for whatever else there is to do.
void wake_in_turn(connection& connection);

// Closes the socket: all that is under way there fails.
void cut_off(connection& connection);

// Lets go the request's number: the owner can name it no more. True when it still could.
bool forget_request(connection& connection);

// False when the client is gone.
asio::awaitable<bool> write_all(connection& connection, std::string_view bytes);

// Tells the owner that a stream's client has gone, unless the owner has ended it.
void tell_gone(connection& connection);

// After so many bytes of what the owner gave have been written.
void count_sent(connection& connection, std::size_t bytes);

} // namespace web
