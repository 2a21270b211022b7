// What snapshots and changes of each topic hold.
#pragma once

#include <vector>

#include "server/web/json.h"
#include "server/web/server.h"

namespace web {

struct live_question {
    web::server& server;
    desk::moment now;
    const live_topic& topic; // which is there
    const desk::actor& actor;
};

// The topic's data in a snapshot.
json snapshot_data(const live_question& question);

// A list of LiveChange with the newest value of each of these, which are sorted and all that has
// changed after `since`; empty when nothing of it may be seen.
json change_data(const live_question& question, const std::vector<live_thing>& things,
                 std::uint64_t since);

} // namespace web
