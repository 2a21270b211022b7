// A client's socket, with TLS or without, as one kind of stream for the library.
#pragma once

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/compose.hpp>
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
    static constexpr std::size_t LONGEST_CONTROL_FRAME = 127; // of a WebSocket's server

    asio::ip::tcp::socket socket;
    std::optional<asio::ssl::stream<asio::ip::tcp::socket&>> tls;
    std::chrono::steady_clock::time_point write_begun{}; // the last
    // Ours is ended, and the client's is waited for.
    std::chrono::steady_clock::time_point end_begun = std::chrono::steady_clock::time_point::max();
    // Frames of a WebSocket, whole, that go out before what is written next, with it: one write
    // for many. Set by whoever writes the next message, while none is being written.
    std::string ahead{};
    std::string record{}; // what is being written in one piece

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

    // One write at a time. With TLS the buffers become one record, since each makes its own else. A
    // control frame is written whole, too, so that nothing ahead comes into the middle of it.
    template <class Buffers, class Token>
    auto async_write_some(const Buffers& buffers, Token&& token)
    {
        const std::size_t given = asio::buffer_size(buffers);
        if (!tls && ahead.empty() && given > LONGEST_CONTROL_FRAME) {
            write_begun = std::chrono::steady_clock::now();
            return socket.async_write_some(buffers, std::forward<Token>(token));
        }
        const std::size_t size = std::min(given, TLS_RECORD);
        record.swap(ahead);
        ahead.clear();
        const std::size_t before = record.size();
        record.resize(before + size);
        asio::buffer_copy(asio::buffer(record) + before, buffers);
        return write_record(size, std::forward<Token>(token));
    }

    // All of the record, of which so much was given.
    template <class Token>
    auto write_record(std::size_t given, Token&& token)
    {
        const auto write = [this, given, written = std::size_t{0}](auto& self,
                                                                   const error_code& error = {},
                                                                   std::size_t size = 0) mutable {
            written += size;
            if (error || written == record.size()) return self.complete(error, error ? 0 : given);
            write_begun = std::chrono::steady_clock::now();
            const asio::const_buffer rest(record.data() + written, record.size() - written);
            if (tls)
                tls->async_write_some(rest, std::move(self));
            else
                socket.async_write_some(rest, std::move(self));
        };
        return asio::async_compose<Token, void(error_code, std::size_t)>(write, token, socket);
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
