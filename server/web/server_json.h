// The server itself, and who is here, as JSON.
#pragma once

#include "server/web/call.h"

namespace web {

// As the actor may see it. Two of them differ whenever something is different, but for `time`.
json server_json(const server& server, const desk::moment& now, const desk::actor& actor);
json operators_json(const server& server, const desk::moment& now, const desk::actor& actor);

} // namespace web
