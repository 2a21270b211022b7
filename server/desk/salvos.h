// Named rows over one or several routers, with their earlier versions, and their runs.
#pragma once

#include <string>
#include <vector>

#include "server/desk/desk.h"
#include "server/desk/takes.h"

namespace desk {

// The name has 1 to TEXT_LENGTH bytes, no control characters; its case is that of the letters A to
// Z. Rows as in a batch; the note is cut.
struct wanted_salvo {
    std::string name;
    std::vector<route> rows;
    std::string note{};
    batch_rule rule = batch_rule::all;
};

struct salvo_answer : row_objection {
    ulid id; // none when something speaks against it
};

// These need the right to operate every destination in the rows.
salvo_answer add_salvo(desk_state& desk, const moment& now, const actor& actor,
                       const wanted_salvo& wanted);
// Its next version; when only the name is another, none.
salvo_answer set_salvo(desk_state& desk, const moment& now, const actor& actor, const ulid& id,
                       const wanted_salvo& wanted);
// A new salvo, or, when there is one of this name, its next version with the same note and rule.
salvo_answer save_salvo(desk_state& desk, const moment& now, const actor& actor,
                        const std::string& name, const std::vector<route>& rows);

// These need the right to operate every destination of its newest version. A deleted one can be
// restored for DELETED_AGE.
objection delete_salvo(desk_state& desk, const moment& now, const actor& actor, const ulid& id);
objection restore_salvo(desk_state& desk, const moment& now, const actor& actor, const ulid& id);

// None when there is none of this name, whatever its case.
std::optional<ulid> find_salvo(const house& house, const std::string& name);

// Version 0: the newest. Null when it has none of this number.
const salvo_version* find_version(const salvo& salvo, int version);

// What the row needs that there is not: no_such_router, no_such_destination or no_such_source.
reason missing_for(const desk_state& desk, const route& row);

// One version as one batch, by the rule of the command.
take_answer run_salvo(desk_state& desk, const moment& now, const actor& actor, const ulid& id,
                      int version, const batch_command& command);

} // namespace desk
