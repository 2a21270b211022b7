// What the traffic between a backend and its router tells about wishes, in the order in which it
// passed. It makes no fact, that is the report's, but for one: a backend that knows its router's
// sources passes over whatever says that a destination shows none.
#pragma once

#include <string>

#include "server/desk/desk.h"

namespace desk {

// A take was sent to the router. Queued wishes for the destination that are older than the one it
// is for have been superseded.
void trace_take(desk_state& desk, const moment& now, const std::string& router, int destination,
                int source);

// The oldest take that has no answer yet was refused, in these words ("NAK 0005"), or, when they
// are empty, acknowledged. Nothing but the order says of which take a refusal is, and an answer may
// have been lost: when a query has followed, its answer is awaited, or a later one's.
void trace_take_answer(desk_state& desk, const moment& now, const std::string& router,
                       const std::string& refusal);

// The oldest take that has no answer yet will have none.
void trace_take_unanswered(desk_state& desk, const std::string& router);

void trace_query(desk_state& desk, const std::string& router, int destination);

// The oldest query for the destination has no answer. `passed_over`: the router has answered a
// later request; the answer may still come, and for LATE_ANSWER showings of the destination may be
// older than what was shown before.
void trace_query_unanswered(desk_state& desk, const moment& now, const std::string& router,
                            int destination, bool passed_over);

// The router said what a destination shows, asked or unasked. Answers count in the order of the
// queries for that destination; those to queries from before a take tell nothing of it, and nor
// does its source before a take of another one that came before it has been shown. What has been
// reported already, and nothing else since, confirms at once: it may be reported no more. NO_SOURCE
// is a fact at once, and reports of what the router has not shown since change nothing any more.
void trace_route(desk_state& desk, const moment& now, const std::string& router, int destination,
                 int source);

} // namespace desk
