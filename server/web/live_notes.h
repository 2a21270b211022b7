// What has happened becomes things that have changed in topics.
#pragma once

#include "server/web/server.h"

namespace web {

// Of all that the desk has done since the last call. Empties the desk's changes.
void note_changes(server& server, const desk::moment& now);

} // namespace web
