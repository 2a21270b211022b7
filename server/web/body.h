// The body of a request, as JSON.
#pragma once

#include <string>

#include "server/web/json.h"

namespace web {

constexpr std::size_t DEEPEST_JSON = 32;     // levels; a deeper one is refused
constexpr std::size_t MEMBERS_OF_ONE = 2000; // object; one with more is refused

// False, with a sentence: no JSON, a number beyond a double, a member twice, too deep, too many
// members. Takes a time in proportion to the text.
bool read_json(const std::string& text, json& value, std::string& error);

} // namespace web
