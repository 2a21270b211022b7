#include "server/web/websocket.h"

#include <algorithm>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/websocket/stream.hpp>

#include "server/web/connection.h"

namespace web {

namespace {
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
using socket_stream = websocket::stream<byte_stream&, false>; // without compression

constexpr std::size_t MOST_AHEAD = 16'384; // bytes, of the messages before the last of a write

// What the client may still send: it fills up with time.
struct allowance {
    double messages = MESSAGES_AT_ONCE;
    instant counted = std::chrono::steady_clock::now();
};

bool use_one(allowance& allowance)
{
    const instant now = std::chrono::steady_clock::now();
    const std::chrono::duration<double> passed = now - allowance.counted;
    allowance.counted = now;
    allowance.messages =
        std::min<double>(MESSAGES_AT_ONCE, allowance.messages + passed.count() * MESSAGES_A_SECOND);
    if (allowance.messages < 1) return false;
    allowance.messages -= 1;
    return true;
}

http::request<http::empty_body> handshake_of(const connection& connection)
{
    http::request<http::empty_body> request{http::verb::get, "/", 11};
    for (const auto& [name, value] : *connection.handshake)
        request.set(name, value);
    return request;
}

void set_options(socket_stream& socket, const connection& connection)
{
    socket.text(true);
    socket.auto_fragment(false);
    socket.read_message_max(LONGEST_MESSAGE);
    socket.set_option(websocket::stream_base::decorator(
        [subprotocol = connection.subprotocol](websocket::response_type& response) {
            response.set(http::field::server, "router-control");
            if (!subprotocol.empty())
                response.set(http::field::sec_websocket_protocol, subprotocol);
        }));
}

// Ends it for what the client has sent.
void send_away(connection& connection, websocket::close_code code, std::string why)
{
    if (connection.closed_with) return;
    connection.closed_with = {static_cast<int>(code), std::move(why)};
    connection.queue.clear();
    wake(connection);
}

// Until the client ends it, or breaks a rule.
asio::awaitable<void> hear(connection& connection, socket_stream& socket)
{
    allowance allowed;
    const auto count = [&] {
        if (!use_one(allowed))
            send_away(connection, websocket::close_code::policy_error, "too many messages");
    };
    socket.control_callback([&](websocket::frame_type kind, boost::beast::string_view) {
        if (kind != websocket::frame_type::close) count();
    });
    boost::beast::flat_buffer buffer;
    while (!connection.closed_with) {
        error_code error;
        co_await socket.async_read(buffer, asio::redirect_error(asio::use_awaitable, error));
        if (error) break;
        connection.transport->counters.bytes_in += buffer.size();
        count();
        if (!socket.got_text())
            send_away(connection, websocket::close_code::unknown_data, "only text is understood");
        if (!connection.closed_with && !connection.finishing)
            connection.transport->hooks.on_message(connection.request,
                                                   boost::beast::buffers_to_string(buffer.data()));
        buffer.clear();
    }
    socket.control_callback();
    if (!connection.closed_with) connection.gone = true;
    co_return;
}

// A message's, as a server sends it: without a mask.
void add_frame(std::string& bytes, std::string_view text)
{
    static_assert(MOST_AHEAD < 65'536); // else the length could need more than two bytes
    constexpr char TEXT = '\x81';       // whole
    constexpr std::size_t LONGEST_SHORT = 125;
    const std::size_t size = text.size();
    bytes += TEXT;
    if (size > LONGEST_SHORT) {
        bytes += char{126};
        bytes += static_cast<char>(size >> 8);
    }
    bytes += static_cast<char>(size);
    bytes += text;
}

// The last of the messages that go out together, which the library writes after those that are put
// ahead of it. `bytes`: of all of them.
std::shared_ptr<const std::string> take_messages(connection& connection, std::size_t& bytes)
{
    std::string& ahead = connection.stream.ahead;
    for (bytes = 0;;) {
        auto message = std::move(connection.queue.front());
        connection.queue.pop_front();
        bytes += message->size();
        if (connection.queue.empty() || ahead.size() + message->size() > MOST_AHEAD) return message;
        add_frame(ahead, *message);
    }
}

// Until it is ended by us, or the client has gone.
asio::awaitable<void> say(connection& connection, socket_stream& socket)
{
    while (!connection.gone && !connection.closed_with) {
        if (connection.queue.empty() && connection.finishing) {
            connection.closed_with = {static_cast<int>(websocket::close_code::normal), ""};
        } else if (connection.queue.empty()) {
            co_await wait_woken(connection);
        } else {
            std::size_t bytes = 0;
            const auto message = take_messages(connection, bytes);
            error_code error;
            connection.writing = true;
            co_await socket.async_write(asio::buffer(*message),
                                        asio::redirect_error(asio::use_awaitable, error));
            connection.writing = false;
            if (error) connection.gone = true;
            if (connection.gone) break;
            connection.transport->counters.bytes_out += bytes;
            count_sent(connection, bytes);
        }
    }
    if (connection.gone) co_return;
    constexpr std::size_t LONGEST_REASON = 123;
    connection.deadline = std::chrono::steady_clock::now() + connection.transport->limits.closing;
    error_code ignored;
    const websocket::close_reason reason(
        static_cast<websocket::close_code>(connection.closed_with->code),
        connection.closed_with->text.substr(0, LONGEST_REASON));
    co_await socket.async_close(reason, asio::redirect_error(asio::use_awaitable, ignored));
}
} // namespace

asio::awaitable<void> talk(std::shared_ptr<connection> held)
{
    connection& connection = *held;
    socket_stream socket(connection.stream);
    set_options(socket, connection);
    error_code error;
    connection.writing = true;
    const auto handshake = handshake_of(connection);
    co_await socket.async_accept(handshake, asio::redirect_error(asio::use_awaitable, error));
    connection.writing = false;
    if (error) {
        tell_gone(connection);
        co_return;
    }
    connection.transport->counters.statuses[101]++;
    connection.transport->counters.streams++;
    bool hearing = true;
    const auto heard = [&hearing, &connection](const std::exception_ptr& failure) {
        hearing = false;
        wake(connection);
        if (failure) std::rethrow_exception(failure);
    };
    asio::co_spawn(connection.transport->context, hear(connection, socket), heard);
    co_await say(connection, socket);
    connection.transport->counters.streams--;
    tell_gone(connection);
    cut_off(connection);
    while (hearing)
        co_await wait_woken(connection);
}

} // namespace web
