// Sources, destinations and groups as answers and live messages have them.
#pragma once

#include <vector>

#include "server/desk/desk.h"
#include "server/desk/groups.h"
#include "server/web/json.h"

namespace web {

// "sources" or "destinations", as the API's paths and members are called.
const char* word_of(desk::side side);

// Source or Destination.
json name_json(const desk::desk_state& desk, const std::string& router, desk::side side,
               int position);

// Sources or Destinations: all that there are, or these. The desk has the router.
json names_json(const desk::desk_state& desk, const std::string& router, desk::side side);
json names_json(const desk::desk_state& desk, const std::string& router, desk::side side,
                const std::vector<int>& positions);

// Group.
json group_json(const std::string& router, desk::side side, const desk::group& group);

} // namespace web
