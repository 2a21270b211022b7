// JSON as answers and live messages are written.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "server/desk/moment.h"

namespace web {

using json = nlohmann::ordered_json; // members stay in the order in which they are written

// What is no UTF-8, as names of routers may be, becomes U+FFFD.
std::string text_of(const json& value);

// "2026-11-22T14:02:11.080Z"
std::string time_text(desk::wall time);

// The same, or with another offset or fraction, as RFC 3339 has it; what is finer than a
// millisecond is cut off. None when it is no such time.
std::optional<desk::wall> read_time(std::string_view text);

// Milliseconds, to the microsecond.
double milliseconds(desk::monotonic duration);

} // namespace web
