// The target of a request: "/api/v1/routers/r1?since=7".
#pragma once

#include <string>
#include <string_view>

#include "server/web/message.h"

namespace web {

constexpr std::size_t LONGEST_TARGET = 8192; // bytes
constexpr std::size_t MOST_SEGMENTS = 32;
constexpr std::size_t MOST_PARAMETERS = 64;

// Reads path and query into the request. False, with a sentence, for whatever could mean another
// path to somebody else than to us: no leading '/', an empty segment but for a last one, "." and
// "..", a '%' without two digits, an encoded '/', control characters, what is no UTF-8. In the
// query '+' is a blank; a parameter twice is refused.
bool read_target(std::string_view target, request& request, std::string& error);

} // namespace web
