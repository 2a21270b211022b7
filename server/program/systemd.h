// What a service manager is told, where one started us.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace program {

void tell_ready(const std::string& status); // the status for people: "Serving at ..."
void tell_stopping();
void tell_alive(); // the watchdog

// How often it wants to hear of us at least; none: not at all.
std::optional<std::chrono::microseconds> watchdog_period();

} // namespace program
