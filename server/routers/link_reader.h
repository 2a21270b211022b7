// The state of a router's link, read from what its backend says. It is ready when discovery has
// ended and the names of both sides have come on this connection. Between two attempts it stays
// down; only the reason changes.
#pragma once

#include <string>

#include "server/desk/desk.h"
#include "server/routers/diagnostics.h"
#include "server/routers/records.h"

namespace routers {

struct link_reader {
    desk::link_state state = desk::link_state::off;
    std::string reason; // in words; empty when ready

    std::string router; // "10.0.0.5:12345"
    std::string cause;  // of the close that is to follow, in words
    // Of the present connection.
    bool connected = false;
    bool answered = false; // a frame that could be read has come
    bool discovery_ended = false;
    bool sources_read = false; // some, by the backend
    bool destinations_read = false;
    bool sources_reported = false; // by its records, since discovery ended
    bool destinations_reported = false;
};

// As it is when a backend with these settings starts.
link_reader start_of_link(const desk::router_settings& settings);

// Both return whether state or reason are different now. What a backend says must be told before
// the records that it wrote later.
bool read_link(link_reader& link, const diagnostic& told);
bool read_link(link_reader& link, const report& told);

} // namespace routers
