// What has happened, for whoever sits at the console: links that come and go, what became of their
// wishes, and, when they follow, every change.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "console/console_state.h"

namespace console {

struct notice {
    std::string text = {}; // lines with their ends, each begun by a time of day
    nlohmann::json json = nlohmann::json::object();
    bool always = false; // else only when all changes are followed
};

// Empties the desk's changes and entries, and keeps what the console remembers of them. Returns
// whether there was an entry: the house is different now.
bool take_events(console_state& console, const desk::moment& now, std::vector<notice>& notices);

// What others have done to the person's while no console told it: locks that they broke within a
// day.
std::vector<notice> missed_notices(const console_state& console, const desk::moment& now);

} // namespace console
