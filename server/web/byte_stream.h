// A client's socket, with TLS or without, as one kind of stream for the library.
#pragma once

#include <algorithm>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/websocket/teardown.hpp>
#include <chrono>
#include <optional>
#include <string>

namespace web {

namespace asio = boost::asio;
using boost::system::error_code;

struct byte_stream {
    using executor_type = asio::ip::tcp::socket::executor_type;
    static constexpr std::size_t TLS_RECORD = 16'384;

    asio::ip::tcp::socket socket;
    std::optional<asio::ssl::stream<asio::ip::tcp::socket&>> tls;
    std::chrono::steady_clock::time_point write_begun{}; // the last
    // Ours is ended, and the client's is waited for.
    std::chrono::steady_clock::time_point end_begun = std::chrono::steady_clock::time_point::max();
    std::string record{}; // what TLS sends

    executor_type get_executor()
    {
        return socket.get_executor();
    }

    template <class Buffers, class Token>
    auto async_read_some(const Buffers& buffers, Token&& token)
    {
        if (tls) return tls->async_read_some(buffers, std::forward<Token>(token));
        return socket.async_read_some(buffers, std::forward<Token>(token));
    }

    // One write at a time. With TLS the buffers become one record, since each makes its own else.
    template <class Buffers, class Token>
    auto async_write_some(const Buffers& buffers, Token&& token)
    {
        write_begun = std::chrono::steady_clock::now();
        if (!tls) return socket.async_write_some(buffers, std::forward<Token>(token));
        record.resize(std::min(asio::buffer_size(buffers), TLS_RECORD));
        asio::buffer_copy(asio::buffer(record), buffers);
        return tls->async_write_some(asio::const_buffer(record.data(), record.size()),
                                     std::forward<Token>(token));
    }
};

// How the library ends a WebSocket's stream: by the socket's end, which closes it for both.
inline void teardown(boost::beast::role_type role, byte_stream& stream, error_code& error)
{
    boost::beast::websocket::teardown(role, stream.socket, error);
}

template <class Handler>
void async_teardown(boost::beast::role_type role, byte_stream& stream, Handler&& handler)
{
    stream.end_begun = std::chrono::steady_clock::now();
    boost::beast::websocket::async_teardown(role, stream.socket, std::forward<Handler>(handler));
}

inline void beast_close_socket(byte_stream& stream)
{
    error_code ignored;
    stream.socket.close(ignored);
}

} // namespace web
