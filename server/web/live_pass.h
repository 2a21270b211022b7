// The followers' part of each pass (serving.h).
#pragma once

#include <optional>

#include "server/web/server.h"

namespace web {

// Notes what has changed, and tells it when it is due. Empties the desk's changes.
void tell_followers(server& server, const desk::moment& now);

std::optional<desk::monotonic> next_due(const live_state& live);

} // namespace web
