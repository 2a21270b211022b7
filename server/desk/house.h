// What holds for the whole house and outlasts the process: routers' settings, labels, locks,
// salvos, batches of wishes with what became of them, undo. It changes by entries alone
// (entries.h), so that whoever keeps the entries can make it again.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "server/desk/ids.h"
#include "server/desk/limits.h"
#include "server/desk/moment.h"

namespace desk {

// Sources and destinations are positions, counted from 0. In place of a source:
constexpr int NO_SOURCE = -1;      // nothing is routed there
constexpr int UNKNOWN_SOURCE = -2; // the router has not said

// How many it has, 1 to POSITIONS of each.
struct simulation {
    int sources = 0;
    int destinations = 0;
    bool operator==(const simulation&) const = default;
};

struct router_settings {
    std::string id;   // permanent: letters, digits, '-' and '_'
    std::string name; // for people
    std::string address;
    int port = 12345;
    int inputs = 0; // up to ROUTED_POSITIONS; 0: as many of these as the router has
    int outputs = 0;
    int first_number = 1; // what people see for position 0
    std::chrono::milliseconds confirmation_limit = CONFIRMATION_LIMIT;
    // None: a real router. Else address and port are those of its simulation, from whoever runs it.
    std::optional<simulation> simulated{};
    bool operator==(const router_settings&) const = default;
};

enum class side { sources, destinations };

struct label {
    std::string alias; // shown before the router's own name; empty: none
    std::string group; // empty: in none
    bool operator==(const label&) const = default;
};

enum class lock_mode {
    lock,    // nobody may route the destination, its owner included
    protect, // only its owner may
};

struct lock {
    lock_mode mode = lock_mode::lock;
    std::string owner; // a person
    std::string reason;
    wall since{};
    std::optional<wall> until; // none: until it is removed
    bool operator==(const lock&) const = default;
};

struct wish_id {
    ulid batch;
    std::uint32_t row = 0;
    // Not a pointer that is compared with 0: NOLINTNEXTLINE(modernize-use-nullptr)
    auto operator<=>(const wish_id&) const = default;
};

struct route {
    std::string router;
    int destination = 0;
    int source = NO_SOURCE;
    bool operator==(const route&) const = default;
};

enum class outcome {
    open, // not ended yet
    confirmed,
    contradicted,
    refused, // by the router
    timed_out,
    not_sent, // refused by us, or never sent; it is never carried out afterwards
    superseded,
    unknown, // the server was restarted, or the router removed or given another address, meanwhile
};

// Why a wish was not sent, or a command not carried out.
enum class reason {
    none,
    no_such_router,
    no_such_destination,
    no_such_source,
    no_such_salvo,
    no_such_version,
    no_such_batch,
    no_such_group,
    no_right,
    link_not_ready,
    locked,
    protected_by_other,
    changed_since, // the destination no longer shows what it did
    fact_unknown,  // what it showed before, or shows now, is not known
    not_confirmed, // nothing to put back: the router did not confirm the row
    too_many_at_once,
    too_late, // the command is older than COMMAND_AGE
    blocked_by_other_row,
    link_lost, // before it was sent
    not_sent_in_time,
    backend_ended, // before it was sent
    nothing_to_do,
    name_taken,
    not_deleted,
    duplicate_destination, // among the rows
    bad_value,             // the detail says which
};

// What speaks against a command, or against one of its rows.
struct objection {
    reason why = reason::none; // none: nothing
    std::string detail;        // in words
};

// The same, against a command with rows.
struct row_objection : objection {
    std::optional<std::size_t> row; // the first of which it is true; none: of the whole
};

// What a wish has done to earlier ones of the same person on its destination, while nobody else
// changed it: so that undo can go on from where an undo has led.
struct doings {
    std::optional<wish_id> replaced;
    std::optional<wish_id> restored; // by undoing what had replaced that one
    bool operator==(const doings&) const = default;
};

// One wish: a source on a destination, asked for by a person.
struct wish {
    route wished;
    int was = UNKNOWN_SOURCE; // what the destination showed before, then at least
    bool unchanged = false;   // it showed the wished source already, and nothing was sent
    outcome end = outcome::open;
    reason why = reason::none; // of not_sent
    std::string detail;        // in words, where the outcome alone does not tell
    // Since the batch was made.
    std::optional<monotonic> sent_after;
    std::optional<monotonic> answered_after{}; // acknowledged or refused by the router
    std::optional<monotonic> ended_after;
    std::optional<monotonic> confirmed_late_after;
    std::optional<int> found{}; // what the router showed first after the restart that ended it
    bool accepted = false;      // a person has seen what went wrong and leaves it so
    desk::doings doings{};      // of one that was confirmed
    bool operator==(const wish&) const = default;
};

enum class batch_kind { take, stage, salvo, undo, redo, rollback };

enum class batch_rule {
    all,  // one blocked row, and nothing is sent
    rest, // what can go goes
};

struct salvo_version {
    int number = 1; // counts from 1 and is never used again
    std::string author;
    wall saved{};
    std::vector<route> rows;
    std::string note{};
    batch_rule rule = batch_rule::all; // with which it is run
    bool operator==(const salvo_version&) const = default;
};

struct salvo {
    std::string name;                   // unique whatever its case
    std::deque<salvo_version> versions; // oldest first, never empty
    bool operator==(const salvo&) const = default;
};

struct deleted_salvo {
    desk::salvo salvo; // whose name may be another's by now
    wall deleted{};
    bool operator==(const deleted_salvo&) const = default;
};

// Wishes given together. Their order is that of the command.
struct batch {
    batch_kind kind = batch_kind::take;
    batch_rule rule = batch_rule::all;
    std::string person;
    std::string origin;
    std::string reason_given; // the person's words
    wall made{};
    ulid of;               // the salvo that was run, or the batch that was rolled back, undone
    int salvo_version = 0; // 0: no salvo
    std::vector<wish> rows;
    bool operator==(const batch&) const = default;
};

// None is kept where it is not known.
struct authorship {
    int source = UNKNOWN_SOURCE;
    std::optional<wish_id> by;   // none: outside
    std::string person{};        // whose wish that is, which may have been forgotten
    std::optional<wall> since{}; // when it was heard first; none: that is not known
    bool operator==(const authorship&) const = default;
};

struct undo_row {
    wish_id by;
    route put;
    int was = UNKNOWN_SOURCE;
    bool operator==(const undo_row&) const = default;
};

struct undo_step {
    ulid batch; // whose rows these are
    wall made{};
    std::vector<undo_row> rows; // those that were sent
    bool operator==(const undo_step&) const = default;
};

// Newest last.
struct undo_record {
    std::deque<undo_step> undo;
    std::deque<undo_step> redo; // emptied by whatever the person does that is neither
    bool operator==(const undo_record&) const = default;
};

// What a person must be told: somebody has broken a lock of theirs.
struct notice {
    std::string person; // who must be told
    wall at{};
    std::string by;
    std::string router;
    int destination = 0;
    std::string reason;
    bool operator==(const notice&) const = default;
};

struct house_router {
    router_settings settings;
    ulid added_after{}; // batches up to this one were for another router of the same id, or
                        // for the router at another address
    std::map<int, label> source_labels; // none that is empty
    std::map<int, label> destination_labels;
    std::map<int, lock> locks;         // by destination
    std::map<int, authorship> authors; // by destination
    bool operator==(const house_router&) const = default;
};

struct house {
    std::map<std::string, house_router, std::less<>> routers; // by id
    std::map<ulid, salvo> salvos;
    std::map<ulid, deleted_salvo> deleted_salvos; // that can be restored
    std::map<ulid, batch> batches;
    std::size_t batch_rows = 0;                           // in all of them
    std::map<std::string, undo_record, std::less<>> undo; // by person
    std::map<ulid, notice> notices;                       // that have not been dismissed
    bool operator==(const house&) const = default;
};

// Of the newest that is kept.
ulid last_batch(const house& house);

// Who put there what the destination was reported to show last. Null when that is not known.
const authorship* find_author(const house& house, const std::string& router, int destination);

// Null when there is none, or it has been forgotten.
const wish* find_wish(const house& house, const wish_id& id);

// Whose doing it is that the confirmed wish's source stands there: an earlier one's when that was
// restored, else its own.
wish_id doing_of(const house& house, const wish_id& id);

// Both are kept, and a person's.
bool same_person(const house& house, const wish_id& one, const wish_id& other);

// What the wish does when it is confirmed on a destination that has shown `was`.
doings doings_of(const house& house, const wish_id& id, int was);

// Neither refused at once nor, in a batch with a blocked row, left out.
bool was_accepted(const wish& wish);

// It was accepted, ended otherwise than wished, and stands so: not confirmed late either, and
// nobody has accepted that.
bool is_trouble(const wish& wish);

// The label's own, an empty one when the position has none.
const label& label_of(const house_router& router, side side, int position);

} // namespace desk
