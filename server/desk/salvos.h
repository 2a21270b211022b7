// Named rows over one or several routers, with their earlier versions, and their runs.
#pragma once

#include <string>
#include <vector>

#include "server/desk/desk.h"
#include "server/desk/takes.h"

namespace desk {

struct salvo_answer {
    ulid id;
    reason why = reason::none;
    std::string detail;
};

// A new salvo, or, when there is one of this name (whatever its case), its next version. Needs the
// right to operate every destination in it. The name has 1 to TEXT_LENGTH bytes, no control
// characters; its case is that of the letters A to Z; rows as in a batch.
salvo_answer save_salvo(desk_state& desk, const moment& now, const actor& actor,
                        const std::string& name, const std::vector<route>& rows);

// Needs the right to operate every destination of its newest version.
objection delete_salvo(desk_state& desk, const moment& now, const actor& actor, const ulid& id);

// None when there is none of this name, whatever its case.
std::optional<ulid> find_salvo(const house& house, const std::string& name);

// One version as one batch, version 0: the newest.
take_answer run_salvo(desk_state& desk, const moment& now, const actor& actor, const ulid& id,
                      int version, const batch_command& command);

} // namespace desk
