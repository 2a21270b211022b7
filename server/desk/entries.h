// What the journal must keep: every change of the house, in order, each with all that it takes to
// make it again. Functions of the desk change the house by record_entry alone.
#pragma once

#include <string>
#include <variant>

#include "server/desk/house.h"

namespace desk {

struct router_set {
    router_settings settings; // of a new router, or new ones
    ulid added_after{};       // as of the house's router
};
struct router_removed {
    std::string router;
};
struct label_set {
    std::string router;
    desk::side side = side::sources;
    int position = 0;
    desk::label label; // empty: it has none any more
};
struct lock_set {
    std::string router;
    int destination = 0;
    desk::lock lock;
};
enum class lock_end { released, broken, expired };
struct lock_removed {
    std::string router;
    int destination = 0;
    lock_end how = lock_end::released;
    std::string owner;  // whose it was
    std::string reason; // of breaking it
    ulid notice{};      // to the owner; none: there is none
};
struct notice_dismissed {
    ulid id;
};
struct salvo_saved {
    ulid id; // of a new salvo, or one more version
    std::string name;
    salvo_version version;
};
struct salvo_renamed {
    ulid id;
    std::string name;
};
struct salvo_deleted {
    ulid id;
};
struct salvo_restored {
    ulid id;
};
struct salvo_forgotten {
    ulid id; // of a deleted one
};
struct batch_made {
    ulid id;
    desk::batch batch; // rows that were not sent have ended
};
struct wish_ended {
    wish_id id;
    outcome end = outcome::unknown;
    reason why = reason::none;
    std::string detail;
    std::optional<monotonic> sent_after; // since the batch was made
    monotonic ended_after{};
    int was = UNKNOWN_SOURCE;    // what the destination showed before, when that is known
    desk::doings doings{};       // of one that is confirmed, as the next
    std::optional<wall> since{}; // when its source was heard first; none: that is not known
    std::optional<monotonic> answered_after{};
};
struct confirmed_late {
    wish_id id;
    monotonic after{};        // since the batch was made
    int was = UNKNOWN_SOURCE; // as of wish_ended
    desk::doings doings{};
    std::optional<wall> since{};
};
// What the router showed when it was heard again after the restart that ended the wish.
struct wish_found {
    wish_id id;
    int source = NO_SOURCE;
    std::string detail; // in the place of the wish's own
};
struct wish_accepted {
    wish_id id;
};
// A destination shows what nobody here asked for.
struct outside_change {
    std::string router;
    int destination = 0;
    int source = NO_SOURCE;
    int was = UNKNOWN_SOURCE;
    std::optional<wall> since{}; // as of wish_ended
};

// Whose doing it is what a destination shows is not known any more.
struct author_forgotten {
    std::string router;
    int destination = 0;
};

struct entry {
    wall at{};
    std::string person; // empty: nobody's doing
    std::string origin;
    std::variant<router_set, router_removed, label_set, lock_set, lock_removed, notice_dismissed,
                 salvo_saved, salvo_renamed, salvo_deleted, salvo_restored, salvo_forgotten,
                 batch_made, wish_ended, confirmed_late, wish_found, wish_accepted, outside_change,
                 author_forgotten>
        what;
};

// Notices that are older than NOTICE_AGE go when another one comes, and the person's oldest beyond
// NOTICES. Also for the tables of who keeps them.
void forget_notices(std::map<ulid, notice>& notices, const std::string& person, wall now);

// Carries the entry out. One that concerns what the house does not have changes nothing. Also for
// making a house again from what was kept, oldest entry first.
void apply_entry(house& house, const entry& entry);

} // namespace desk
