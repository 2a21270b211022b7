// What became of wishes, and what would become of them, in words and as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "console/answer.h"
#include "console/console_state.h"
#include "server/desk/takes.h"

namespace console {

// The answer of the desk to a take of whatever kind: what goes, what does not and why. `title` says
// what was asked for, as it is to begin a sentence: "Take", "Undo".
answer batch_answer(const console_state& console, const desk::take_answer& told, bool dry_run);

bool has_ended(const desk::house& house, const desk::ulid& batch);

// Of a batch that has ended: "MON A shows CAM 3: confirmed after 12 ms".
std::string outcome_text(const console_state& console, const desk::ulid& batch);
nlohmann::json outcome_json(const console_state& console, const desk::ulid& batch);

// done when every row was confirmed or needed no take; else not_ready when a link was the reason,
// else refused.
verdict verdict_of(const desk::batch& batch);

} // namespace console
