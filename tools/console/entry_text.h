// What the desk's entries tell, in words and as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "console/console_state.h"

namespace console {

// A sentence without its full stop: "MON A is locked by anna (on air)". Names are those of now.
std::string entry_text(const console_state& console, const desk::entry& entry);

// With "event", which names its kind, "at", and "person" and "origin" when it was somebody's doing.
nlohmann::json entry_json(const console_state& console, const desk::entry& entry);

} // namespace console
