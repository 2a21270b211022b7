// The simulator's clients: their sockets, what is on its way to each, and what is told about them.
// Nothing here waits.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "common/clock.h"
#include "router_simulator/router/state.h"
#include "router_simulator/wire/event.h"
#include "router_simulator/wire/frames.h"
#include "router_simulator/wire/output_queue.h"

namespace router_simulator {

// Bytes that may wait for a client that does not read; beyond, it is dropped.
constexpr std::size_t MAX_WAITING_OUTPUT = 4'194'304;

// What is not done at present.
struct stopped_actions {
    bool accepting = false; // connections are refused
    bool reading = false;
    bool answering = false; // requests are dropped, and nothing new is sent
    bool writing = false;   // what is on its way stays, and the client's end is not answered
};

struct connected_client {
    int descriptor = -1;
    std::string peer; // who it is, for people
    request_parser parser;
    output_queue output;
    std::string behind_next; // a reply that waits for the next one to pass
    stopped_actions stopped;
};

struct simulator_server {
    simulated_router router;
    std::function<void(const std::string&)> print; // is given one line about what happens
    bool trace = false;                            // every frame is a line
    bool text_events = false;                      // every event is a readable line
    bool json_events = false;                      // every event is a line of JSON
    int receive_buffer = 0;       // bytes of each client's socket; 0: as the system has it
    us_time_t started = now_us(); // where events and the trace count from
    int listener = -1;            // -1: clients come by add_client alone
    bool accepting = true;        // clear while there is no descriptor for another client
    bool refusing = false;        // connections
    int last_client = 0;          // clients are numbered from 1
    std::map<int, connected_client> clients{};
};

void print_event(const simulator_server& server, const router_event& event);

// Prints the takes that the router has made since the last call; `by` says whose they are: of a
// client, which has a number, of the "scenario" or a "command".
void print_takes(simulator_server& server, const char* by, std::optional<int> client = {});

// Prints the name that a source, else a destination, has been given.
void print_rename(const simulator_server& server, bool is_source, std::size_t position);

// Prints what clients may take from now on, or no more: "lock" or "unlock" of a destination,
// "refuse take" or "allow take" of its crosspoint with a source. `by` as above.
void print_right(const simulator_server& server, const char* kind, std::size_t destination,
                 std::optional<std::size_t> source, const char* by);

std::string client_text(int number);

// `direction` is > for what a client sent and < for what it is sent. Only when the server traces.
void trace_line(const simulator_server& server, int client, char direction,
                const std::string& text);

// Makes a connected stream socket a client, and its descriptor the server's. Returns its number.
int add_connection(simulator_server& server, int descriptor, const std::string& peer);

// Closes its connection. The client must be there, in all functions that are given its number.
void remove_client(simulator_server& server, int number, const std::string& reason);

// Closes the connections of all clients. New ones may come.
void drop_clients(simulator_server& server);

struct reply_piece {
    us_time_t pause_us = 0; // after the piece before
    std::string bytes;
};

struct shaped_reply {
    std::vector<reply_piece> pieces; // in order; none when nothing is sent
    us_time_t delay_us = 0;          // so much later, and what follows no earlier
    us_time_t late_us = 0;           // not 0: so much later still, and others may pass
    bool behind_next = false;        // behind the client's next reply
    std::string repeated;            // a frame that the scenario is to repeat
};

// Each message its frame.
shaped_reply plain_reply(const std::vector<router_message>& messages, us_time_t delay_us = 0);

void send_reply(simulator_server& server, int number, const shaped_reply& reply);

// Sends messages to the clients they are for; those to a client that has gone are lost.
void send_messages(simulator_server& server, const std::vector<addressed_message>& messages);

// Sends the bytes as they are.
void send_bytes(simulator_server& server, int number, const std::string& bytes);

// Writes what is due and what the socket accepts. Drops the client when too much waits.
void write_output(simulator_server& server, int number);

} // namespace router_simulator
