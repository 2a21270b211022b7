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
#include "router_simulator/scenario/plan.h"
#include "router_simulator/scenario/reply_faults.h"
#include "router_simulator/wire/event.h"
#include "router_simulator/wire/frames.h"
#include "router_simulator/wire/output_queue.h"

namespace router_simulator {

// Bytes that may wait for a client that does not read; beyond, it is dropped.
constexpr std::size_t MAX_WAITING_OUTPUT = 4'194'304;

// The faults that last, and until when.
using lasting_faults = std::map<fault_kind, us_time_t>;

struct client_link {
    int descriptor = -1;
    std::string peer; // who it is, for people
    request_parser parser;
    output_queue output;
    std::string behind_next; // a reply that waits for the next one to pass
    lasting_faults lasting;
};

// Messages that are sent one after the other, so many a second.
struct message_stream {
    fault_kind fault = fault_kind::burst;
    int client = 0;
    std::size_t step = 0; // of the scenario
    std::string bytes;    // the message; empty: the routing status of a random destination
    std::uint64_t left = 0;
    us_time_t due = 0;
    us_time_t interval_us = 0;
};

struct simulator_server {
    simulated_router router;
    std::function<void(const std::string&)> print; // takes one line about what happens
    bool trace = false;                            // every frame is a line
    bool json_events = false;                      // every event is a line of JSON
    int receive_buffer = 0;       // bytes of each client's socket; 0: as the system has it
    us_time_t started = now_us(); // where the trace counts from
    int listener = -1;            // -1: clients come by add_client alone
    bool accepting = true;        // clear while there is no descriptor for another client
    bool refusing = false;        // connections
    int last_client = 0;          // clients are numbered from 1
    std::map<int, client_link> links{};
    std::optional<scenario> plan{}; // with one, every event is a readable line
    lasting_faults lasting{};       // of the listener
    std::vector<message_stream> streams{};
};

// The readable line comes with a scenario only, the JSON one when it is asked for.
void print_event(const simulator_server& server, const router_event& event);

// Prints the takes that the router has made since the last call; `by` says whose they are: of a
// client, which has a number, of the "scenario" or a "command".
void print_takes(simulator_server& server, const char* by, std::optional<int> client = {});

// Prints the name that a source, else a destination, has been given.
void print_rename(const simulator_server& server, bool is_source, std::size_t position);

std::string client_text(int number);

// `direction` is > for what a client sent and < for what it is sent. Only when the server traces.
void trace_line(const simulator_server& server, int client, char direction,
                const std::string& text);

// Makes a connected stream socket a client, and its descriptor the server's. Returns its number.
int add_link(simulator_server& server, int descriptor, const std::string& peer);

// Closes its connection. The client must be there, in all functions that take its number.
void remove_client(simulator_server& server, int number, const std::string& reason);

// Closes the connections of all clients. New ones may come.
void drop_clients(simulator_server& server);

bool is_under(const client_link& link, fault_kind fault);

// Whether nothing is answered or sent at present.
bool is_mute(const client_link& link);

// Whether nothing is read at present.
bool is_deaf(const client_link& link);

// Sends messages to the clients they are for; those to a client that has gone are lost.
void send_messages(simulator_server& server, const std::vector<addressed_message>& messages);

// Sends the bytes as they are.
void send_bytes(simulator_server& server, int number, const std::string& bytes);

// Sends a reply, so much later.
void send_reply(simulator_server& server, int number, const shaped_reply& reply,
                us_time_t delay_us);

// Writes what is due and what the socket takes. Drops the client when too much waits.
void write_output(simulator_server& server, int number);

} // namespace router_simulator
