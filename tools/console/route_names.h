// Routes as the console names them, in words and as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "console/console_state.h"

namespace console {

// "MON A", and "MON A of back" on another router than the one in use.
std::string place_text(const console_state& console, const std::string& router, int destination);

// "MON A <- CAM 3"
std::string route_text(const console_state& console, const desk::route& route);

std::string route_count(std::size_t count); // "3 routes"

// {"index": 0, "name": "MON A"}
nlohmann::json destination_json(const desk::desk_state& desk, const std::string& router,
                                int destination);

// Likewise; null for desk::NO_SOURCE, {"name": "unknown"} for desk::UNKNOWN_SOURCE.
nlohmann::json source_json(const desk::desk_state& desk, const std::string& router, int source);

// What the route's destination shows, as far as the router has said so on the present connection.
int known_source(const desk::desk_state& desk, const desk::route& route);

// A wished route, and what its destination showed before.
nlohmann::json route_json(const desk::desk_state& desk, const desk::route& route, int was);

} // namespace console
