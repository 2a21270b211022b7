// What the simulated router says that it has done: one line per event, such as
// "@ 12.345678 take destination=3 source=5 by=client 1".
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace soak {

struct event_line {
    std::string what; // "take", "stop reading"
    std::map<std::string, std::string> values;
};

// Nothing when the line is no event.
std::optional<event_line> parse_event(std::string_view line);

// The decimal number that the value of this key begins with.
std::optional<int> number_value(const event_line& event, const std::string& key);

// A decimal router index under this key, as the position from 0 of a router that counts from 1.
std::optional<int> position_value(const event_line& event, const std::string& key);

} // namespace soak
