// What a backend reports to its parent, out of its records.
#pragma once

#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "parent/record.h"
#include "server/desk/house.h"

namespace routers {

struct identity { // each cut like every text; empty until the router has told it
    std::string model;
    std::string firmware;
    std::string product;
    std::string company;
};

struct info_report {
    int inputs = 0; // effective ones
    int outputs = 0;
    routers::identity identity;
};

struct names_report { // all of one side, from position 0; at most POSITIONS
    desk::side side = desk::side::sources;
    std::vector<std::string> names;
};

struct routes_report {
    std::vector<std::pair<int, int>> routes; // destination and source, NO_SOURCE included
};

// None of these: replies, and whatever no backend writes.
using report = std::variant<std::monostate, info_report, names_report, routes_report>;

// A record with names and routes, which no backend writes, counts as names. One of outputs without
// a field counts as routes: a router without destinations cannot be told from it.
report read_record(const ParentRecord& record);

} // namespace routers
