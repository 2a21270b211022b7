#include "server/web/transport.h"

#include <vector>

#include "server/web/connection.h"
#include "server/web/listening.h"
#include "server/web/loop_inside.h"

namespace web {

namespace {
// Null when the owner may not name it, or when it waits for another kind of call.
connection* find(const transport& transport, request_id request, bool answered)
{
    const auto found = transport.inside->requests.find(request);
    if (found == transport.inside->requests.end()) return nullptr;
    return (found->second->kind != answer_kind::none) == answered ? found->second : nullptr;
}

void respond(connection& connection, response&& response)
{
    forget_request(connection);
    connection.kind = answer_kind::whole;
    connection.response = std::move(response);
    wake(connection);
}
} // namespace

transport::transport(loop& loop, transport_hooks hooks, const transport_limits& limits)
    : inside(std::make_shared<transport_inside>(transport_inside{
          .context = loop.inside->context, .hooks = std::move(hooks), .limits = limits}))
{
}

transport::~transport()
{
    stop_listening(*this);
    close_all(*this);
    inside->connections.clear(); // each is kept by what serves it, until the loop runs or goes
    inside->hooks = {};
}

int listen(transport& transport, const std::string& address, int port, const tls_files* tls,
           std::string& error)
{
    return add_listener(transport.inside, address, port, tls, error);
}

bool reload_certificates(transport& transport, std::string& error)
{
    std::vector<std::shared_ptr<asio::ssl::context>> read;
    for (const listener& each : transport.inside->listeners) {
        read.push_back(each.tls ? read_tls(each.files, error) : nullptr);
        if (each.tls && !read.back()) return false;
    }
    auto next = read.begin();
    for (listener& each : transport.inside->listeners)
        each.tls = *next++;
    return true;
}

void stop_listening(transport& transport)
{
    error_code ignored;
    transport.inside->ending = true;
    for (listener& each : transport.inside->listeners)
        each.acceptor.close(ignored);
    for (const auto& [each, held] : transport.inside->connections)
        if (each->phase == phase::idle) cut_off(*each);
}

void close_all(transport& transport)
{
    transport.inside->requests.clear();
    for (const auto& [each, held] : transport.inside->connections)
        cut_off(*each);
}

const transport_counters& counters(const transport& transport)
{
    return transport.inside->counters;
}

void respond(transport& transport, request_id request, response&& response)
{
    connection* const found = find(transport, request, false);
    if (found != nullptr) respond(*found, std::move(response));
}

void open_stream(transport& transport, request_id request, response&& response)
{
    connection* const found = find(transport, request, false);
    if (found == nullptr) return;
    found->kind = answer_kind::body;
    found->response = std::move(response);
    if (!found->response.body.empty())
        send(transport, request,
             std::make_shared<const std::string>(std::move(found->response.body)));
    wake(*found);
}

void open_websocket(transport& transport, request_id request, const std::string& subprotocol)
{
    connection* const found = find(transport, request, false);
    if (found == nullptr) return;
    // A client that goes on before it was let in is none of WebSockets.
    if (!found->handshake || !found->reader.http_1_1 || !found->reader.input.empty()) {
        respond(*found, problem_response({.code = "upgradeRequired",
                                          .detail = "Ask for an upgrade to websocket."}));
        return;
    }
    found->kind = answer_kind::websocket;
    found->subprotocol = subprotocol;
    wake(*found);
}

void send(transport& transport, stream_id stream, std::shared_ptr<const std::string> bytes)
{
    connection* const found = find(transport, stream, true);
    if (found == nullptr) return;
    found->unsent += bytes->size();
    found->queue.push_back(std::move(bytes));
    if (found->queue.size() == 1) wake_in_turn(*found); // else it has not come to its end
}

std::size_t unsent_bytes(const transport& transport, stream_id stream)
{
    const connection* const found = find(transport, stream, true);
    return found == nullptr ? 0 : found->unsent;
}

void finish(transport& transport, stream_id stream)
{
    connection* const found = find(transport, stream, true);
    if (found == nullptr) return;
    forget_request(*found);
    found->finishing = true;
    wake(*found);
}

void close(transport& transport, stream_id stream, int code, std::string_view reason)
{
    connection* const found = find(transport, stream, true);
    if (found == nullptr) return;
    forget_request(*found);
    found->queue.clear();
    if (!found->closed_with) found->closed_with = {code, std::string(reason)};
    found->deadline = std::chrono::steady_clock::now() + transport.inside->limits.closing;
    wake(*found);
}

} // namespace web
