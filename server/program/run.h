// The server as a process: from its data folder to its orderly end.
#pragma once

#include "server/program/options.h"
#include "server/program/settings.h"

namespace program {

// Serves until a signal ends it. Returns the exit status; what keeps it from starting is said on
// standard error.
int run_server(const options& options, const settings& settings);

} // namespace program
