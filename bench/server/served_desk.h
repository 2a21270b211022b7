// A desk with its routers, and the least loop around them.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "server/desk/actor.h"
#include "server/routers/routers.h"

namespace bench {

struct served_desk {
    desk::desk_state desk;
    routers::running_routers routers;
};

extern const desk::actor ENGINEER; // who may do everything

desk::moment this_moment();

// A router of this id on this port of 127.0.0.1. Throws when the desk refuses it.
void add_router(served_desk& served, const std::string& id, std::uint16_t port);

// Waits until one of the descriptors is ready or something is due, but not longer than that, and
// serves what is there. Returns whether `input` can be read; -1: there is none.
bool serve_once(served_desk& served, int input, std::chrono::milliseconds longest_wait);

bool all_ready(const desk::desk_state& desk);

// Ends all backends and waits for that.
void end_backends(served_desk& served);

} // namespace bench
