// What the simulated router says that it has done: a line of JSON per event, such as
// {"time":12.345678,"event":"take","destination":3,"source":5,"by":"client","client":1}.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace soak {

struct router_event {
    std::string kind;         // "take", "fault", "end of fault", ...
    std::string fault;        // its name, "" when the event is about none
    std::string request;      // that the fault is about, "" for none
    std::string by;           // who has made a take
    int client = 0;           // the router's number of the connection, 0 for none or all
    int destination = -1;     // position from 0, of a router that counts from 1; -1 for none
    int source = -1;          // likewise
    bool lasting = false;     // the fault goes on until its end is told, or its connection's
    bool only_delays = false; // the fault leaves the reply as it is
};

// Nothing when the line is no event.
std::optional<router_event> parse_event(std::string_view line);

} // namespace soak
