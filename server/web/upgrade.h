// Requests to become a WebSocket.
#pragma once

#include "server/web/message.h"

namespace web {

// Whether a WebSocket may be opened for it.
bool asks_for_websocket(const request& request);

} // namespace web
