// The simulated routers of a demonstration, which misbehave when they are told to. They end with
// us.
#pragma once

#include <map>
#include <set>
#include <string>

#include "server/desk/desk.h"
#include "server/web/server.h"
#include "tools/common/line_program.h"

namespace program {

struct simulated_router {
    common::line_program process;
    std::set<std::string> faults; // by their words in the API
    desk::monotonic link_back{};  // when a dropped link comes back
};

struct simulation {
    std::string program;                                            // the simulator's
    std::string scenario;                                           // the file of its faults
    std::map<std::string, simulated_router, std::less<>> routers{}; // by id
};

// Two routers, and the server's way to them. The folder is for their scenario, the simulation must
// outlive the server. False, with the reason.
bool begin_demonstration(simulation& simulation, web::server& server, const std::string& folder,
                         std::string& error);

// What they print must be read now and then, or they stand still one day.
void serve_simulation(simulation& simulation);

} // namespace program
