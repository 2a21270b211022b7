// What engineers set: which routers there are, and aliases and groups of their positions.
#pragma once

#include <string>

#include "server/desk/desk.h"

namespace desk {

struct setup_answer {
    reason why = reason::none;
    std::string detail;
};

// A new router, whose link is off, or new settings of one that the desk has.
setup_answer set_router(desk_state& desk, const moment& now, const actor& actor,
                        const router_settings& settings);

// With its labels, locks and stages; open wishes end as not sent (queued) or unknown (sent).
setup_answer remove_router(desk_state& desk, const moment& now, const actor& actor,
                           const std::string& router);

setup_answer set_label(desk_state& desk, const moment& now, const actor& actor,
                       const std::string& router, side side, int position, const label& label);

} // namespace desk
