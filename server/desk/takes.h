// The one way to wish: a batch of rows, checked as a whole, then sent.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "server/desk/desk.h"

namespace desk {

struct take_row {
    route wished;
    std::optional<int> if_source; // goes only while this is known to be shown, and no wish is open
};

// What every command has that makes a batch.
struct batch_command {
    ulid id; // the caller's, at most once: a second command with it gets the first one's answer
    std::optional<monotonic> asked; // steady; older than COMMAND_AGE is refused. None: now
    batch_rule rule = batch_rule::all;
    bool dry_run = false; // answers the same questions, sends and records nothing
    std::string reason_given;
};

struct take_request : batch_command {
    std::vector<take_row> rows;
    bool send_unchanged = false; // also what the destination shows already
};

struct row_answer {
    route wished;
    bool goes = false; // or would go; when not:
    reason why = reason::none;
    std::string detail;     // in words
    bool unchanged = false; // instead: nothing is to be sent, as it shows the source already
};

struct take_answer {
    ulid batch;                // none when nothing was recorded: a dry run, or refused as a whole:
    reason why = reason::none; // no_such..., too_late, duplicate_destination, bad_value (no rows,
                               // or too many)
    std::string detail;
    std::vector<row_answer> rows; // as the request's; empty when refused as a whole
};

take_answer take(desk_state& desk, const moment& now, const actor& actor,
                 const take_request& request);

// A person has seen that the destination's last wish ended badly and leaves it so.
objection accept_outcome(desk_state& desk, const moment& now, const actor& actor,
                         const std::string& router, int destination);

// What the other commands of this desk give on to the same checks: as take, with the batch's kind,
// what it is of, and what they have found against rows themselves, which stands in the place of
// if_source's check.
struct batch_origin {
    batch_kind kind = batch_kind::take;
    ulid of;
    int salvo_version = 0;
    std::vector<objection> objections; // by row of the request; empty: none against any
};
take_answer take_as(desk_state& desk, const moment& now, const actor& actor,
                    const take_request& request, const batch_origin& from);

// For the same commands, before all that may be otherwise since: the answer that there was to the
// first command with this id. None when it is the first.
std::optional<take_answer> answer_again(const desk_state& desk, const ulid& id);

} // namespace desk
