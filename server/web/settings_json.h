// A person's settings of the panel, as answers and live messages have them.
#pragma once

#include "server/web/json.h"
#include "server/web/server.h"

namespace web {

// Settings: those that the person has; the usual ones when there is no such person.
json settings_json(const server& server, const std::string& person);

} // namespace web
