// What became of wishes, in words and as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "console/answer.h"
#include "console/console_state.h"

namespace console {

bool has_ended(const desk::house& house, const desk::ulid& batch);

// Of a batch that has ended: "MON A shows CAM 3: confirmed after 12 ms".
std::string outcome_text(const console_state& console, const desk::ulid& batch);
nlohmann::json outcome_json(const console_state& console, const desk::ulid& batch);

// done when every row was confirmed or needed no take; else not_ready when a link was the reason,
// else refused.
verdict verdict_of(const desk::batch& batch);

} // namespace console
