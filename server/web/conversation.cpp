#include "server/web/conversation.h"

#include <algorithm>
#include <array>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cstdio>
#include <utility>

#include "server/web/connection.h"
#include "server/web/response_text.h"
#include "server/web/upgrade.h"
#include "server/web/websocket.h"

namespace web {

namespace {
constexpr std::size_t READ_SIZE = 8192;
constexpr std::size_t CHUNK_SIZE = 65'536; // several short pieces make one

instant from_now(std::chrono::milliseconds time)
{
    return std::chrono::steady_clock::now() + time;
}

asio::awaitable<bool> shake_hands(connection& connection)
{
    error_code error;
    connection.since = std::chrono::steady_clock::now();
    connection.deadline = connection.since + connection.transport->limits.handshake;
    co_await connection.stream.tls->async_handshake(
        asio::ssl::stream_base::server, asio::redirect_error(asio::use_awaitable, error));
    co_return !error && !connection.gone;
}

// False when there is no more.
asio::awaitable<bool> read_some(connection& connection)
{
    error_code error;
    std::string& input = connection.reader.input;
    const std::size_t size = input.size();
    input.resize(size + READ_SIZE);
    const std::size_t read = co_await connection.stream.async_read_some(
        asio::buffer(input.data() + size, READ_SIZE),
        asio::redirect_error(asio::use_awaitable, error));
    input.resize(size + read);
    connection.transport->counters.bytes_in += read;
    co_return !error && !connection.gone;
}

asio::awaitable<bool> write_answer(connection& connection, const response& response,
                                   bool keeps_open)
{
    connection.transport->counters.statuses[response.status]++;
    const bool has_no_body =
        connection.without_body || response.status == 204 || response.status == 304;
    std::string text = head_text(response, {.ends = body_end::by_length,
                                            .length = response.body.size(),
                                            .http_1_1 = connection.reader.http_1_1,
                                            .keeps_open = keeps_open});
    if (!has_no_body) text += response.body;
    co_return co_await write_all(connection, text);
}

// Of its body on its way so many bytes are held.
void count_body(connection& connection, std::size_t bytes)
{
    connection.transport->bodies += bytes - std::exchange(connection.counted, bytes);
}

asio::awaitable<void> refuse(connection& connection, const response& response)
{
    connection.phase = phase::closing;
    connection.deadline = instant::max();
    std::string().swap(connection.reader.request.body);
    count_body(connection, 0);
    co_await write_answer(connection, response, false);
}

response no_room_response()
{
    response busy = problem_response(
        {.code = "overloaded", .detail = "Too much is being sent to the server at once."});
    busy.headers.emplace_back("Retry-After", "5");
    return busy;
}

// Of what has come so far. True when that is a whole request.
asio::awaitable<bool> read_whole(connection& connection)
{
    request_reader& reader = connection.reader;
    const transport_limits& limits = connection.transport->limits;
    connection.phase = phase::idle;
    connection.since = std::chrono::steady_clock::now();
    connection.deadline = connection.since + limits.idle;
    for (;;) {
        const reading reached = read_request(reader);
        count_body(connection, reached == reading::whole ? 0 : reader.request.body.size());
        if (reached == reading::whole) co_return true;
        if (reached == reading::refused) {
            co_await refuse(connection, problem_response(reader.refusal));
            co_return false;
        }
        if (connection.transport->bodies > limits.bodies) {
            co_await refuse(connection, no_room_response());
            co_return false;
        }
        const bool begun = reader.head_is_read || !reader.input.empty();
        if (begun && connection.phase == phase::idle) {
            connection.phase = phase::reading;
            connection.deadline = from_now(limits.request);
        }
        if (reader.waits_for_leave && reader.input.empty()) {
            if (!co_await write_all(connection, "HTTP/1.1 100 Continue\r\n\r\n")) co_return false;
        }
        reader.waits_for_leave = false;
        const bool more = co_await read_some(connection);
        if (connection.too_slow) {
            const problem slow{.code = "tooSlow",
                               .detail = "The request has not come whole in time."};
            co_await refuse(connection, problem_response(slow));
            co_return false;
        }
        if (!more) co_return false;
    }
}

void hand_over(connection& connection)
{
    transport_inside& transport = *connection.transport;
    connection.phase = phase::answering;
    connection.deadline = instant::max();
    connection.kind = answer_kind::none;
    connection.finishing = false;
    connection.request = ++transport.last_request;
    connection.without_body = connection.reader.request.method == method::head;
    connection.handshake.reset();
    request request = std::move(connection.reader.request);
    request.address = connection.address;
    request.encrypted = connection.stream.tls.has_value();
    if (asks_for_websocket(request)) connection.handshake = request.headers;
    transport.requests.emplace(connection.request, &connection);
    transport.hooks.on_request(connection.request, std::move(request));
}

// A chunk of what is waiting, as much as makes sense at once.
std::string take_chunk(connection& connection, bool chunked, std::size_t& bytes)
{
    std::string body;
    do {
        body += *connection.queue.front();
        connection.queue.pop_front();
    } while (!connection.queue.empty() &&
             body.size() + connection.queue.front()->size() <= CHUNK_SIZE);
    bytes = body.size();
    if (!chunked || body.empty()) return body; // an empty chunk would be the last
    std::array<char, 32> size{};
    const int digits = std::snprintf(size.data(), size.size(), "%zx\r\n", body.size());
    body.insert(0, size.data(), static_cast<std::size_t>(digits));
    return body += "\r\n";
}

// False when the connection cannot be used for another request.
asio::awaitable<bool> send_body(connection& connection, bool keeps_open)
{
    const bool chunked = connection.reader.http_1_1 && !connection.without_body;
    keeps_open = keeps_open && connection.reader.http_1_1;
    connection.transport->counters.statuses[connection.response.status]++;
    const std::string head =
        head_text(connection.response,
                  {.ends = connection.reader.http_1_1 ? body_end::by_chunks : body_end::by_closing,
                   .http_1_1 = connection.reader.http_1_1,
                   .keeps_open = keeps_open});
    co_await write_all(connection, head);
    while (!connection.gone && !connection.closed_with) {
        if (!connection.queue.empty()) {
            std::size_t bytes = 0;
            const std::string chunk = take_chunk(connection, chunked, bytes);
            if (!connection.without_body) co_await write_all(connection, chunk);
            if (!connection.gone) count_sent(connection, bytes);
        } else if (connection.finishing) {
            if (!chunked) co_return keeps_open;
            co_return co_await write_all(connection, "0\r\n\r\n") && keeps_open;
        } else {
            co_await wait_woken(connection);
        }
    }
    tell_gone(connection);
    cut_off(connection);
    co_return false;
}

// From a whole request to its answer's last byte. True when another one may come.
asio::awaitable<bool> serve_request(std::shared_ptr<connection> held)
{
    connection& connection = *held;
    begin_request(connection.reader);
    if (!co_await read_whole(connection)) co_return false;
    hand_over(connection);
    while (connection.kind == answer_kind::none && !connection.gone)
        co_await wait_woken(connection);
    if (connection.kind == answer_kind::none) {
        if (forget_request(connection)) connection.transport->hooks.on_gone(connection.request);
        co_return false;
    }
    const bool keeps_open = connection.reader.keeps_open && !connection.transport->ending;
    if (connection.kind == answer_kind::whole)
        co_return co_await write_answer(connection, connection.response, keeps_open) && keeps_open;
    if (connection.kind == answer_kind::body) {
        connection.transport->counters.streams++;
        const bool goes_on = co_await send_body(connection, keeps_open);
        connection.transport->counters.streams--;
        co_return goes_on;
    }
    co_await talk(held);
    co_return false;
}

// So that the client gets what was written last: while it still sends, an end at once would take
// that away from it.
asio::awaitable<void> end_gently(connection& connection)
{
    if (connection.gone) co_return;
    connection.phase = phase::closing;
    connection.since = std::chrono::steady_clock::now();
    connection.deadline = connection.since + connection.transport->limits.closing;
    error_code error;
    if (connection.stream.tls)
        co_await connection.stream.tls->async_shutdown(
            asio::redirect_error(asio::use_awaitable, error));
    asio::ip::tcp::socket& socket = connection.stream.socket;
    socket.shutdown(asio::ip::tcp::socket::shutdown_send, error);
    std::string dropped(READ_SIZE, '\0');
    while (!error && !connection.gone)
        co_await socket.async_read_some(asio::buffer(dropped),
                                        asio::redirect_error(asio::use_awaitable, error));
}

// The client's end by a reset is seen while nothing is read or written, too.
void watch_for_reset(const std::shared_ptr<connection>& held)
{
    held->stream.socket.async_wait(asio::ip::tcp::socket::wait_error,
                                   [held](const error_code& error) {
                                       if (!error) cut_off(*held);
                                   });
}

void leave(connection& connection)
{
    transport_inside& transport = *connection.transport;
    count_body(connection, 0);
    const auto counted = transport.of_origin.find(connection.origin);
    if (counted != transport.of_origin.end() && --counted->second == 0)
        transport.of_origin.erase(counted);
    transport.connections.erase(&connection);
    transport.counters.open = transport.connections.size();
}
} // namespace

asio::awaitable<void> converse(std::shared_ptr<connection> held)
{
    connection& connection = *held;
    if (!connection.stream.tls || co_await shake_hands(connection)) {
        watch_for_reset(held);
        while (co_await serve_request(held) && !connection.transport->ending) {
        }
        co_await end_gently(connection);
    }
    cut_off(connection);
    leave(connection);
}

} // namespace web
