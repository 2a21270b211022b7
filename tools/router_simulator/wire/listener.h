// The socket that clients connect to.
#pragma once

#include <cstdint>
#include <string>

#include "router_simulator/wire/clients.h"

namespace router_simulator {

// Listens on the IPv4 address and port, 0 for any free one. False, with the reason, when it cannot.
bool start_listening(simulator_server& server, const std::string& address, std::uint16_t port,
                     std::string& error);

// "ADDRESS:PORT" of the listening socket, with the port that it really has.
std::string listening_address(const simulator_server& server);

// The descriptor of the next connection, and whose it is; -1 when there is none, or no descriptor
// for it, which is then told.
int accept_connection(simulator_server& server, std::string& peer);

// Whether connections are refused from now on.
void set_refusing(simulator_server& server, bool refusing);

} // namespace router_simulator
