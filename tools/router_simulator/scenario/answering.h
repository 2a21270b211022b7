// From the bytes of a client to what it is sent: each request is answered, unless the scenario has
// something against it.
#pragma once

#include <string_view>

#include "router_simulator/scenario/simulator.h"

namespace router_simulator {

// Carries out what the bytes complete. The client may be gone afterwards.
void answer_bytes(simulator& simulated, int number, std::string_view bytes);

} // namespace router_simulator
