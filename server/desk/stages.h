// Rows that a person has prepared for a router and not taken yet. A row remembers what its
// destination showed; when that is different now it has changed, and needs a decision.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "server/desk/desk.h"
#include "server/desk/takes.h"

namespace desk {

// Puts the row in place of one for the same destination. Needs the right to operate it; its lock
// and the link count when it is taken.
row_answer stage_row(desk_state& desk, const moment& now, const actor& actor, const route& row);

// Several things at once, in this order.
struct stage_change {
    bool clear = false;                    // all that the person has staged on the router
    std::vector<int> remove;               // destinations; what is not there is nothing
    std::vector<int> keep;                 // likewise, as keep_row
    std::vector<std::pair<int, int>> rows; // destination and source, as stage_row
};

// All of it, or nothing when a row cannot be staged or a destination is there twice.
row_objection change_stage(desk_state& desk, const moment& now, const actor& actor,
                           const std::string& router, const stage_change& wanted);

// False when the row is not there.
bool unstage_row(desk_state& desk, const actor& actor, const std::string& router, int destination);
void clear_stage(desk_state& desk, const actor& actor, const std::string& router);

// The row shall go although its destination has changed: it remembers what it shows now. False when
// the row is not there.
bool keep_row(desk_state& desk, const actor& actor, const std::string& router, int destination);

bool has_changed(const live_router& router, int destination, const staged_row& row);

// The whole stage as one batch. Rows that went, or needed not to, leave the stage; blocked ones
// stay. An empty one is refused with nothing_to_do.
take_answer take_stage(desk_state& desk, const moment& now, const actor& actor,
                       const std::string& router, const batch_command& command);

} // namespace desk
