// What is done with a data folder while no server, or none of these, needs to run.
#pragma once

#include "server/program/options.h"

namespace program {

// Any command but serve. Returns the exit status; what went wrong is said on standard error.
int run_command(const options& options);

} // namespace program
