// A router in good health, as far as the backend can tell: it answers every request by its own
// small tables. It checks the requests on the way: each must be a frame as the protocol has it.
#pragma once

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "common/clock.h"

struct played_router {
    bool answers = true;
    us_time_t delay = 0;               // of every answer
    std::size_t entries_a_message = 8; // of names
    unsigned base = 1;
    unsigned sources = 4;
    unsigned levels = 1;
    std::vector<unsigned> routes = {0, 1, 2, 3}; // the source of each destination, both positions
    std::vector<bool> changed = {false, false, false, false};
    unsigned flags = 0;
    int connection = 0; // the number of sockets made when it came about; what follows is its own
    std::string heard;  // the beginning of a request
    std::deque<std::pair<us_time_t, std::string>> on_its_way; // answers and when they arrive
};

extern played_router router;

// What was sent to the router, in any pieces.
void played_router_hears(const std::string& bytes);

// Sends the answers that are due.
void send_due_answers();

// With names that have to be read again.
void set_router_size(unsigned sources, unsigned destinations, unsigned base);

// Says, when asked, that names have changed.
void announce_names();

// Another operator's take.
void change_route(unsigned destination, unsigned source);
