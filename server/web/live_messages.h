// What clients of a WebSocket say.
#pragma once

#include <string>

#include "server/web/server.h"

namespace web {

// One message. A client that is not understood is ended.
void hear_client(server& server, const desk::moment& now, stream_id stream,
                 const std::string& text);

} // namespace web
