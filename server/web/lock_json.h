// Locks as answers and live messages have them.
#pragma once

#include "server/web/json.h"
#include "server/web/problem.h"
#include "server/web/server.h"

namespace web {

// Null when the destination has none.
const desk::lock* find_lock(const server& server, const std::string& router, int destination);

// Lock.
json lock_json(const server& server, const std::string& router, int destination,
               const desk::lock& lock);

// Locks. The desk has the router.
json locks_json(const server& server, const std::string& router);

// Whose lock it is, in the problem of a locked or protected destination.
void add_lock_owner(const server& server, problem& problem);

} // namespace web
