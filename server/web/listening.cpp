#include "server/web/listening.h"

#include <algorithm>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "server/web/connection.h"
#include "server/web/conversation.h"
#include "server/web/deadlines.h"
#include "server/web/response_text.h"

namespace web {

namespace {
using asio::ip::tcp;
using shared_transport = std::shared_ptr<transport_inside>;

void rethrow(const std::exception_ptr& failure)
{
    if (failure) std::rethrow_exception(failure); // out of the loop: our own mistake
}

// Whose connections are counted together: an IPv4 address's, an IPv6 network's. "": not counted.
std::string origin_of(const asio::ip::address& address)
{
    if (address == asio::ip::address_v4::loopback() || address == asio::ip::address_v6::loopback())
        return "";
    if (address.is_v4()) return address.to_string();
    auto bytes = address.to_v6().to_bytes();
    std::fill(bytes.begin() + 8, bytes.end(), std::uint8_t{0});
    return asio::ip::address_v6(bytes).to_string() + "/64";
}

// The one that has waited longest for a whole request, or for its client to close.
bool cut_off_longest_waiting(transport_inside& transport)
{
    connection* longest = nullptr;
    for (const auto& [each, held] : transport.connections) {
        if (each->phase == phase::answering || each->gone) continue;
        if (longest == nullptr || each->since < longest->since) longest = each;
    }
    if (longest != nullptr) cut_off(*longest);
    return longest != nullptr;
}

// Without a wait: what can be said fits into what the system keeps of a new connection.
void turn_away(transport_inside& transport, tcp::socket& socket, bool encrypted)
{
    error_code ignored;
    transport.counters.turned_away++;
    if (encrypted) return;
    const response response =
        problem_response({.code = "tooManyAtOnce", .detail = "There are too many connections."});
    const std::string text = head_text(response, {.length = response.body.size()}) + response.body;
    std::string dropped(4096, '\0');
    socket.non_blocking(true, ignored);
    socket.write_some(asio::buffer(text), ignored);
    socket.shutdown(tcp::socket::shutdown_send, ignored);
    socket.read_some(asio::buffer(dropped), ignored); // else the client may not see the answer
}

void let_in(const shared_transport& transport, tcp::socket socket, const tcp::endpoint& client,
            const std::shared_ptr<asio::ssl::context>& tls)
{
    transport->counters.accepted++;
    const std::string origin = origin_of(client.address());
    const bool full = transport->connections.size() >= transport->limits.connections;
    const bool too_many = !origin.empty() &&
                          transport->of_origin[origin] >= transport->limits.connections_per_address;
    if (too_many || (full && !cut_off_longest_waiting(*transport))) {
        turn_away(*transport, socket, tls != nullptr);
        return;
    }
    error_code ignored;
    socket.set_option(tcp::no_delay(true), ignored);
    const auto held = std::make_shared<connection>(transport, std::move(socket));
    held->address = client.address().to_string();
    held->origin = origin;
    if (tls) held->stream.tls.emplace(held->stream.socket, *tls);
    if (!origin.empty()) transport->of_origin[origin]++;
    transport->connections.emplace(held.get(), held);
    transport->counters.open = transport->connections.size();
    asio::co_spawn(transport->context, converse(held), rethrow);
    if (!transport->watching_deadlines)
        asio::co_spawn(transport->context, watch_deadlines(transport), rethrow);
}

asio::awaitable<void> let_all_in(shared_transport transport, listener& listener)
{
    while (listener.acceptor.is_open()) {
        error_code error;
        tcp::endpoint client;
        tcp::socket socket(transport->context);
        co_await listener.acceptor.async_accept(socket, client,
                                                asio::redirect_error(asio::use_awaitable, error));
        if (!error) {
            let_in(transport, std::move(socket), client, listener.tls);
        } else if (error != asio::error::connection_aborted && listener.acceptor.is_open()) {
            // The system finds no descriptor before it looks whether anybody waits for one.
            co_await listener.acceptor.async_wait(tcp::acceptor::wait_read,
                                                  asio::redirect_error(asio::use_awaitable, error));
            if (error) continue;
            transport->counters.failed_accepts++;
            cut_off_longest_waiting(*transport); // its descriptor can be used
            asio::steady_timer timer(transport->context, transport->limits.retry);
            co_await timer.async_wait(asio::redirect_error(asio::use_awaitable, error));
        }
    }
}

bool open(tcp::acceptor& acceptor, const tcp::endpoint& endpoint, std::string& error)
{
    const asio::socket_base::send_buffer_size sends(BYTES_IN_SYSTEM); // of its connections
    const asio::socket_base::receive_buffer_size receives(BYTES_IN_SYSTEM);
    error_code failure;
    acceptor.open(endpoint.protocol(), failure);
    if (!failure) acceptor.set_option(tcp::acceptor::reuse_address(true), failure);
    if (!failure && endpoint.address().is_v6())
        acceptor.set_option(asio::ip::v6_only(true), failure);
    if (!failure) acceptor.set_option(sends, failure);
    if (!failure) acceptor.set_option(receives, failure);
    if (!failure) acceptor.bind(endpoint, failure);
    if (!failure) acceptor.listen(asio::socket_base::max_listen_connections, failure);
    if (failure) error = failure.message();
    return !failure;
}
} // namespace

int add_listener(const shared_transport& transport, const std::string& address, int port,
                 const tls_files* tls, std::string& error)
{
    error_code failure;
    const auto parsed = asio::ip::make_address(address, failure);
    if (failure) {
        error = failure.message();
        return 0;
    }
    std::shared_ptr<asio::ssl::context> read;
    if (tls != nullptr && !(read = read_tls(*tls, error))) return 0;
    listener& added = transport->listeners.emplace_back(transport->context);
    if (!open(added.acceptor, {parsed, static_cast<std::uint16_t>(port)}, error)) {
        transport->listeners.pop_back();
        return 0;
    }
    if (tls != nullptr) added.files = *tls;
    added.tls = std::move(read);
    asio::co_spawn(transport->context, let_all_in(transport, added), rethrow);
    return added.acceptor.local_endpoint(failure).port();
}

} // namespace web
