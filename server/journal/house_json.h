// A house as JSON, for the file that keeps it. Positions count from 0; in place of a source, null
// is none and "unknown" is what the router has not said. Times are milliseconds since 1970 in UTC,
// those since a batch was made are microseconds.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "server/desk/house.h"

namespace journal {

// Bytes that are no UTF-8 stay as they are; they are lost when it is written.
nlohmann::json house_json(const desk::house& house);

// Any text gives a house that the desk can work with, or false and a clause that says where it is
// wrong: "salvos.01ARZ....versions[0] has no \"rows\"", "line 3, column 7: this is no JSON". The
// house stays as it was then.
bool read_house(const std::string& text, desk::house& house, std::string& error);

} // namespace journal
