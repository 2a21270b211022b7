// The network side: one listening socket, any number of clients, one loop step. Nothing here waits
// but the step's own poll, and no client can hold up another.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <poll.h>
#include <span>
#include <string>
#include <vector>

#include "common/clock.h"
#include "router_simulator/request_parser.h"
#include "router_simulator/router.h"

// Bytes that may wait for a client that does not read; beyond, it is dropped.
constexpr std::size_t MAX_WAITING_OUTPUT = 4'194'304;

struct client_link {
    int descriptor = -1;
    std::string peer; // who it is, for people
    request_parser parser;
    std::string output; // not yet taken by the socket
};

struct simulator_server {
    simulated_router router;
    std::function<void(const std::string&)> print; // takes one line about what happens
    bool trace = false;                            // every frame is a line
    us_time_t started = now_us();                  // where the trace counts from
    int listener = -1;                             // -1: clients come by add_client alone
    bool accepting = true; // clear while there is no descriptor for another client
    int last_client = 0;   // clients are numbered from 1
    std::map<int, client_link> links{};
};

// Listens on the IPv4 address and port, 0 for any free one. Returns "" or why it cannot.
std::string start_listening(simulator_server& server, const std::string& address,
                            std::uint16_t port);

// "ADDRESS:PORT" of the listening socket, with the port that it really has.
std::string listening_address(const simulator_server& server);

// Makes a connected stream socket a client, and its descriptor the server's. Returns its number.
int add_client(simulator_server& server, int descriptor, const std::string& peer);

// One step: waits at most this long for something to happen (0: not at all, -1: for ever), then
// accepts, reads at most 4096 bytes from each client, answers and writes. Also waits for the given
// descriptors, whose results are set as poll sets them; a signal ends the wait.
void serve(simulator_server& server, int wait_ms, std::span<pollfd> also_watched = {});

// Sends messages to the clients they are for; those to a client that has gone are lost.
void send_messages(simulator_server& server, const std::vector<addressed_message>& messages);

// Closes the connections of all clients. New ones may come.
void drop_clients(simulator_server& server);

// Closes everything.
void stop_server(simulator_server& server);
