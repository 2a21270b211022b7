// The backends of all routers of one desk, for whoever has a loop: it polls the descriptors until
// next_due, and calls serve_routers then, and after every command that it has given to the desk.
// One descriptor stands for all backends, so that to wait for many costs no more than for one.
// What the desk has to tell stays in its changes and entries; its orders are carried out here.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "server/routers/backend.h"

namespace routers {

// An epoll descriptor. Throws when the system has none left.
common::owned_descriptor new_watch();

struct running_routers {
    std::string program; // the backend's
    std::string folder;  // for the configuration files, which must be there
    // By router. One that the desk has no longer stays until its backend has ended.
    std::map<std::string, backend, std::less<>> backends;
    std::set<std::string, std::less<>> left_off;  // those of the desk that are not to run
    bool stopping = false;                        // none is started any more
    common::owned_descriptor watch = new_watch(); // of all their descriptors
    std::optional<std::uint64_t> set_ups;         // the desk's when they were brought in line
};

// Brings the backends in line with the desk's routers and their settings, serves those with
// something to do, tells the desk of the time, and carries out its orders. `polled` is what poll
// has filled in; other descriptors may be among it. Throws when the system has no memory left to
// watch another backend.
void serve_routers(running_routers& routers, desk::desk_state& desk, const desk::moment& now,
                   std::span<const pollfd> polled = {});

void add_poll_descriptors(const running_routers& routers, std::vector<pollfd>& descriptors);

// The earliest of all backends and the desk.
std::optional<desk::monotonic> next_due(const running_routers& routers,
                                        const desk::desk_state& desk, const desk::moment& now);

// Ends all for good. They have ended when none is running, TIME_TO_END later at the latest if they
// are served.
void stop_routers(running_routers& routers, const desk::moment& now);
bool any_running(const running_routers& routers);

} // namespace routers
