// What is told to a person of what is theirs.
#pragma once

#include <vector>

#include "server/web/json.h"
#include "server/web/server.h"

namespace web {

// How many steps there are to undo, and to redo.
std::pair<std::size_t, std::size_t> count_steps(const server& server, const desk::moment& now,
                                                const std::string& person);

// MyData of the API's description.
json person_data(server& server, const desk::moment& now, const desk::actor& actor);

// The newest of these, as a list of LiveChange.
json person_changes(server& server, const desk::moment& now, const desk::actor& actor,
                    const std::vector<live_thing>& things);

} // namespace web
