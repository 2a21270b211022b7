// The desk's words for people: what ended a wish, why something does not go. Names are given as the
// router's and ours stand now, positions with the router's first number.
#pragma once

#include <string>

#include "server/desk/desk.h"

namespace desk {

// "CAM 3", the alias before the router's name; "source 12" without either; "no source", "unknown".
std::string source_name(const desk_state& desk, const std::string& router, int source);
std::string destination_name(const desk_state& desk, const std::string& router, int destination);

// The same in a sentence: with its number where another has the name, as in "CAM 1 (9)".
std::string source_text(const desk_state& desk, const std::string& router, int source);
std::string destination_text(const desk_state& desk, const std::string& router, int destination);

const char* text_of(outcome outcome);  // "confirmed", "timed out"
const char* text_of(wish_state state); // "queued"
const char* text_of(link_state link);  // "ready"
const char* text_of(lock_mode mode);   // "locked", "protected"
const char* code_of(reason reason);    // "destinationLocked", as in API, log and metrics

// A sentence without its full stop: "MON A is locked by anna (on air)".
std::string lock_text(const desk_state& desk, const std::string& router, int destination);

// Whose doing it is that the destination shows this: "taken by ben", "taken by somebody else" when
// nobody here had asked for it, or "it is not known by whom".
std::string taker_text(const desk_state& desk, const std::string& router, int destination,
                       int source);

// Cut to TEXT_LENGTH bytes at a letter's end; control characters become spaces.
std::string cut_text(const std::string& text);

} // namespace desk
