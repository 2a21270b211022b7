// What changes without the desk's telling it: looked at, and noted in its topic when it is
// different.
#pragma once

#include "server/web/server.h"

namespace web {

// Frames that have passed.
void note_frames(server& server);

// Who is here, how the server does, how many steps there are to undo.
void note_figures(server& server, const desk::moment& now);

// Settings of the panel.
void note_settings(server& server);

} // namespace web
