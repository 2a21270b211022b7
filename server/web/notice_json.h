// What a person must be told, in JSON.
#pragma once

#include <string>

#include "server/web/json.h"
#include "server/web/server.h"

namespace web {

// Notice.
json notice_json(const server& server, const desk::ulid& id, const desk::notice& notice);

// Notices of this person, oldest first.
json notices_json(const server& server, const std::string& person, desk::wall now);

} // namespace web
