// The streams of those who follow: their beginning, what becomes of each, their end.
#pragma once

#include "server/web/call.h"
#include "server/web/server.h"

namespace web {

// Begins a client that follows nothing yet. `events`: it is sent server-sent events.
stream_owner add_client(server& server, const desk::moment& now, stream_id stream,
                        const request& credentials, const desk::actor& actor, bool events);

// Closes those that have been ended since the last call.
void close_ended(server& server);

} // namespace web
