// The connections of clients: HTTP/1.1, server-sent events and WebSockets, with TLS or without.
//
// A request is told with a number by which it is answered, once, at any later time: with an answer
// or by opening a stream, which keeps the number. A connection's next request is read after that,
// so that answers come in order. What a client sends wrongly, too slowly or too much of is refused
// here (transport_limits.h) and told to nobody.
//
// The hooks are called by the loop, never from within a function of this file. A number that is not
// known, since the client has gone meanwhile, is no mistake: nothing happens.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "server/web/loop.h"
#include "server/web/message.h"
#include "server/web/tls_files.h"
#include "server/web/transport_hooks.h"
#include "server/web/transport_limits.h"

namespace web {

struct transport_inside;

struct transport {
    std::shared_ptr<transport_inside> inside;

    // The loop must outlive it.
    transport(loop& loop, transport_hooks hooks, const transport_limits& limits = {});
    ~transport(); // cuts off everybody; no hook is called any more
    transport(const transport&) = delete;
    transport& operator=(const transport&) = delete;
};

// Returns the port, which the system has chosen for port 0; 0, with the reason, when the address
// is none, is taken or not ours, or the files do not make a certificate with its key. `tls` is null
// for none. An IPv6 address stands for itself alone. May be called several times.
int listen(transport& transport, const std::string& address, int port, const tls_files* tls,
           std::string& error);

// Reads the files of all listeners again, for the connections that come from now on. When one
// listener's cannot be used, all keep what they have: false, with the reason.
bool reload_certificates(transport& transport, std::string& error);

// The orderly end: nobody is let in, idle connections are closed, those under way after their
// answer. Streams go on until the caller ends them.
void stop_listening(transport& transport);
void close_all(transport& transport); // cuts off what is left; no hook is called for it

const transport_counters& counters(const transport& transport);

// Date, Content-Length and Connection are added. Blanks take the place of control characters in
// headers. With HEAD the body is left out; with 204 and 304 there must be none.
void respond(transport& transport, request_id request, response&& response);

// An answer whose body comes by `send`: `response.body` is its beginning.
void open_stream(transport& transport, request_id request, response&& response);

// Lets the client in. `subprotocol` must be one that it has offered, or empty. A request that does
// not ask for a WebSocket (upgrade.h) is answered with 426.
void open_websocket(transport& transport, request_id request, const std::string& subprotocol);

// Sends after what was given before: a piece of the body, or a message of text in UTF-8. The bytes
// are shared, not copied, while they wait; what waits for one client goes out in one write.
void send(transport& transport, stream_id stream, std::shared_ptr<const std::string> bytes);

std::size_t unsent_bytes(const transport& transport, stream_id stream); // 0: all, or not known

// Ends a stream after what was given: a WebSocket with 1000.
void finish(transport& transport, stream_id stream);

// Ends it now: what has not been sent is dropped. A client that gets a body sees that it is not
// whole; a WebSocket is told the code and the reason, which is cut to 123 bytes.
void close(transport& transport, stream_id stream, int code, std::string_view reason);

} // namespace web
