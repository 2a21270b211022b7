// What a backend says on standard error, one message at a time: the frames that pass between it and
// its router, what becomes of the connection, and text.
//
// A message is what the backend wrote at once, without its line end. A router's bytes stand in it
// as they are, line ends and level tags included, and stay data only while messages are kept apart:
// cut into lines, a router could write any of them (parent_link.h keeps them apart). Then all can
// be told but this: a frame with a line end in it is logged like any other; a frame sent whose
// write failed is logged as well, behind the line that tells of the failure.
//
// The line of a frame sent comes after the frame went to the socket: a backend that is killed may
// have sent one frame more than it tells of. A message received stands here when it has come, also
// when the backend passes it over later.
#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "router_link/message.h"

namespace routers {

enum class direction { sent, received };

struct frame_line {
    direction way = direction::sent;
    bool rejected = false;  // not understood by the backend: message has nothing but its raw
    router_message message; // raw also for a frame sent
};

// The router has shown the backend a route, which will be in the next routing report.
struct route_accepted {
    int output = 0;
    int input = 0; // -1: none
};

// The indexes of the names just read: the first is that of position 0.
struct index_range {
    bool inputs = false; // else outputs
    std::uint32_t first = 0;
    std::uint32_t last = 0;
};

enum class link_event {
    connecting,
    connected,
    connect_failed, // detail: why, as the system says
    no_address,     // the address that is set is none
    no_socket,
    dropped,        // the router closed the connection
    broken,         // detail: why, as the system says
    silent,         // nothing came for 20 s
    unanswered,     // a request
    unable_to_send, // a request
    closed,         // follows most of those above, or what was ordered
    names_missing,  // discovery has ended without all names
    names_complete, // discovery has ended with them
};

struct link_line {
    link_event what = link_event::closed;
    std::string detail;
};

enum class level { none, debug, note, warning, error };

struct text_line {
    routers::level level = level::none;
    std::string text; // a router's bytes among it, as they came
};

using diagnostic = std::variant<frame_line, route_accepted, index_range, link_line, text_line>;

// Whatever is not exactly as the backend writes it is text.
diagnostic read_diagnostic(std::string_view message);

} // namespace routers
