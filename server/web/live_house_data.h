// What is told of the whole house: its routers, operations and salvos, as far as they may be
// viewed.
#pragma once

#include <vector>

#include "server/web/json.h"
#include "server/web/server.h"

namespace web {

// Whether a snapshot of operations has it: it is open, or was wished in the last minute.
bool is_recent(const desk::batch& batch, const desk::moment& now);

// OperationsData and SalvosData of the API's description.
json operations_data(const server& server, const desk::moment& now, const desk::rights& may);
json salvos_data(const server& server, const desk::rights& may);

// The newest of these, as lists of LiveChange.
json routers_changes(const server& server, const desk::rights& may,
                     const std::vector<live_thing>& things);
json operations_changes(const server& server, const desk::rights& may,
                        const std::vector<live_thing>& things);
json salvos_changes(const server& server, const desk::rights& may,
                    const std::vector<live_thing>& things);

} // namespace web
