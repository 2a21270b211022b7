// What a console without a terminal prints.
#pragma once

#include <string_view>

#include "console/session.h"

namespace console {

// Waits for a reader that is slow. Where no more can be written, and when a signal comes while the
// reader takes nothing, the rest and all later output is dropped and the session quits: that
// counts, unless the reader has gone and nothing but what happens was to be shown.
void write_output(console_session& session, std::string_view text);

} // namespace console
