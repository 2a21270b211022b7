#include "server/web/connection.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace web {

namespace {
constexpr int STREAMS_AT_ONCE = 64; // a write each: about a millisecond

void take_turns(const std::shared_ptr<transport_inside>& transport)
{
    asio::post(transport->context, [transport] {
        for (int i = 0; i < STREAMS_AT_ONCE && !transport->turns.empty(); ++i) {
            const auto found = transport->requests.find(transport->turns.front());
            transport->turns.pop_front();
            if (found != transport->requests.end()) wake(*found->second);
        }
        if (!transport->turns.empty()) take_turns(transport);
    });
}
} // namespace

asio::awaitable<void> wait_woken(connection& connection)
{
    error_code ignored;
    connection.woken.expires_at(instant::max());
    co_await connection.woken.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
}

void wake(connection& connection)
{
    connection.woken.cancel();
}

void wake_in_turn(connection& connection)
{
    connection.transport->turns.push_back(connection.request);
    if (connection.transport->turns.size() == 1) take_turns(connection.transport);
}

void cut_off(connection& connection)
{
    error_code ignored;
    connection.gone = true;
    connection.stream.socket.close(ignored);
    wake(connection);
}

bool forget_request(connection& connection)
{
    return connection.transport->requests.erase(connection.request) != 0;
}

asio::awaitable<bool> write_all(connection& connection, std::string_view bytes)
{
    connection.writing = true;
    while (!bytes.empty() && !connection.gone) {
        error_code error;
        const std::size_t written = co_await connection.stream.async_write_some(
            asio::const_buffer(bytes.data(), bytes.size()),
            asio::redirect_error(asio::use_awaitable, error));
        if (error) connection.gone = true;
        connection.transport->counters.bytes_out += written;
        bytes.remove_prefix(written);
    }
    connection.writing = false;
    co_return !connection.gone;
}

void tell_gone(connection& connection)
{
    if (forget_request(connection)) connection.transport->hooks.on_stream_gone(connection.request);
}

void count_sent(connection& connection, std::size_t bytes)
{
    connection.unsent -= bytes;
    const bool known = connection.transport->requests.contains(connection.request);
    if (connection.queue.empty() && known)
        connection.transport->hooks.on_drained(connection.request);
}

} // namespace web
