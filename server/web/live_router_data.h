// What is told of one router.
#pragma once

#include <string>
#include <vector>

#include "server/web/json.h"
#include "server/web/server.h"

namespace web {

// RouterData of the API's description.
json router_data(const server& server, const std::string& router);

// The newest of these, as a list of LiveChange.
json router_changes(const server& server, const std::string& router,
                    const std::vector<live_thing>& things);

} // namespace web
