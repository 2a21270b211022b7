// The world around the backend when it is fuzzed whole: its clock, and a parent and a router whose
// descriptors exist in memory alone. The backend's system calls end here, so that a session is
// fast, repeatable, and as faulty as the fuzzer wants it.
#pragma once

#include <cstdint>
#include <deque>
#include <set>
#include <string>
#include <vector>

#include "common/clock.h"

constexpr us_time_t NEVER = UINT64_MAX;
constexpr us_time_t WORLD_START_US = 1'000'000'000;
constexpr int WRITES_NOTHING = -1; // in place of an errno: the write returns 0

// What the backend's reads of one side meet.
struct played_input {
    std::string bytes;      // ready to be read
    bool ended = false;     // end of file behind them
    std::deque<int> errors; // the errno of each of the next reads; 0: that read goes well
    std::size_t longest_read = SIZE_MAX;
};

// What its writes meet.
struct played_output {
    std::string bytes; // everything written
    std::deque<int> errors;
    std::size_t longest_write = SIZE_MAX;
    std::size_t room = SIZE_MAX; // bytes that still fit
};

struct played_side {
    played_input input;
    played_output output;
};

enum class connect_outcome {
    at_once,
    later,
    refused_later,
    never,
    refused_at_once,
    no_socket, // socket() itself fails
};

struct played_world {
    us_time_t now = WORLD_START_US;
    played_side parent;
    played_side router; // of the connection last made
    std::string read_from_parent;
    us_time_t parent_served_at = WORLD_START_US; // when its input was last read or empty
    std::vector<std::string> earlier_output;     // to the router, of each earlier connection
    std::set<int> open_sockets;
    int sockets_made = 0;
    connect_outcome connecting = connect_outcome::later; // of the attempts to come
    connect_outcome attempt = connect_outcome::later;    // of the last one
    bool established = false;
    int failing_closes = 0;
    int interrupted_waits = 0;
    us_time_t next_event = NEVER; // when play has something to do again
    void (*play)() = nullptr;     // lets happen what is due; called whenever the backend waits
    void (*router_hears)(const std::string& bytes) = nullptr;
};

extern played_world world;

void parent_sends(const std::string& bytes);

// What becomes of the connection attempt that is under way, if there is one.
void set_attempt(connect_outcome outcome);

// Nothing is sent without an established connection.
void router_sends(const std::string& bytes);
