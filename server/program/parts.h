// What the running server is made of, in the order in which it is made; it ends the other way
// round.
#pragma once

#include <memory>
#include <string>

#include "server/program/demonstration.h"
#include "server/program/options.h"
#include "server/program/settings.h"
#include "server/web/loop.h"
#include "server/web/server.h"
#include "server/web/transport.h"

namespace program {

struct parts {
    std::string folder; // the data folder, a temporary one of a demonstration
    program::simulation simulation;
    web::server server;
    web::loop loop;
    std::unique_ptr<web::transport> transport;
    std::unique_ptr<web::transport> metrics; // when they have a listener of their own
    std::string address;                     // where people find it: "http://127.0.0.1:8080/"
    std::string metrics_address;             // likewise; empty: they have no listener of their own
};

// What was kept becomes the server's state. False, with the reason.
bool open_house(parts& parts, const options& options, const settings& settings, std::string& error);

// Clients can come, and wait until the loop runs. False, with the reason.
bool open_doors(parts& parts, const settings& settings, std::string& error);

// From now on things are kept. False, with the reason.
bool start_threads(web::server& server, std::string& error);

// Everything that was decided is kept, and the threads have ended. False when something could not
// be written, which has been said.
bool close_house(parts& parts);

} // namespace program
