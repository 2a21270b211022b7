// What became of wishes, in words and as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "console/answer.h"
#include "console/console_state.h"

namespace console {

// A batch that is known no longer has ended.
bool has_ended(const desk::house& house, const desk::ulid& batch);

// Whether the outcome of the batch is to be told: something of it was on its way, and nothing is
// any more.
bool has_outcome(const desk::house& house, const desk::ulid& batch);

// Of a batch with an outcome: "MON A shows CAM 3: confirmed after 12 ms." One of several rows has a
// headline with figures, and below it the rows that were not confirmed. Lines with their ends, the
// first without the time of day that a notice begins with.
std::string outcome_text(const console_state& console, const desk::ulid& batch);
nlohmann::json outcome_json(const console_state& console, const desk::ulid& batch);

// Of a batch that is kept: a line for each of its wishes that is open when nobody will hear any
// more what becomes of it.
std::string unknown_text(const console_state& console, const desk::ulid& batch);

// "14 of 16 confirmed, slowest 212 ms, 2 shown already": of a batch that has ended.
std::string figures_text(const desk::batch& batch);

// Of a wish that was confirmed after its outcome had been told. Empty, and null, when its batch is
// known no longer.
std::string late_text(const console_state& console, const desk::wish_id& id);
nlohmann::json late_json(const console_state& console, const desk::wish_id& id);

// "timed out: ...": the end of one wish in words, without its route. For lists of what happened.
std::string end_text(const desk::wish& row);
// Of a row of a batch that puts back what the batch `of` did: with what became of that.
std::string end_text(const console_state& console, const desk::ulid& of, const desk::wish& row);

// Of a row that would put back what the batch `of` did there: "the take of CAM 3 there was not
// confirmed: refused by the router (NAK 0005)". Empty when that was confirmed, or is forgotten.
std::string unconfirmed_text(const console_state& console, const desk::ulid& of,
                             const desk::route& wished);

// The end's name in JSON: "timedOut".
const char* code_of(desk::outcome outcome);

// done when every row was confirmed or needed no take; else not_ready when a link was the reason,
// else refused.
verdict verdict_of(const desk::batch& batch);

} // namespace console
