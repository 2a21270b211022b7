// The loop's step over network and scenario. Nothing here waits but its poll, and no client can
// hold up another.
#pragma once

#include <poll.h>
#include <span>
#include <string>

#include "router_simulator/scenario/simulator.h"

namespace router_simulator {

// Makes a connected stream socket a client, and its descriptor the server's. Returns its number;
// the client may be gone already when the scenario wants it so.
int add_client(simulator& simulated, int descriptor, const std::string& peer);

// One step: waits at most this long for something to happen (0: not at all, -1: for ever), then
// accepts, reads at most 4096 bytes from each client, answers, writes and does what the scenario
// has due. Also waits for the given descriptors, whose results are set as poll sets them; a signal
// ends the wait, and so does what becomes due.
void serve(simulator& simulated, int wait_ms, std::span<pollfd> also_watched = {});

// Closes everything.
void stop_server(simulator& simulated);

} // namespace router_simulator
