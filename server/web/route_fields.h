// Routes in a request: positions, `null` for no source. What the router does not have is refused
// before anything is asked of the desk.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "server/desk/takes.h"
#include "server/web/call.h"
#include "server/web/fields.h"

namespace web {

// None, with the problem, when it is not among those that can be routed.
std::optional<int> find_routable(const server& server, const std::string& router, int destination,
                                 problem& wrong);
// The destination in the path, likewise.
std::optional<int> find_destination(const server& server, const call& call, problem& wrong);

// `source` of the object, for the route's router.
void read_source(fields& fields, const desk::desk_state& desk, desk::route& route);

std::optional<int> read_if_source(fields& fields);

// The array `rows` of the object.
struct rows_wanted {
    std::string router; // of all of them; empty: each names its own
    std::size_t least = 1;
    std::size_t most = desk::ROWS_PER_BATCH;
    bool if_source = false; // a row may have it
};
std::vector<desk::take_row> read_rows(fields& fields, const desk::desk_state& desk,
                                      const rows_wanted& wanted);

} // namespace web
