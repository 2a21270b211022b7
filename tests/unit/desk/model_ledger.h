// An independent record of what a desk was told and what it answered, and the rules that must hold
// between the two at every step of a history.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "server/desk/desk.h"
#include "unit/desk/model_router.h"

namespace model {

using place = std::pair<std::string, int>; // router and destination

struct wish_seen {
    desk::route wished;
    std::string person;
    desk::outcome end = desk::outcome::open;
    bool ordered = false;
    bool outlasted = false;  // a restart, as ended
    bool cut_off = false;    // the connection over which its take was sent has ended
    bool sent = false;       // to the router
    bool maybe_sent = false; // as far as the desk can know
    // The router's number of its take; of one that was lost on the way, of the last before it.
    std::optional<std::uint64_t> served{};
    // What was reported when its take was sent; where that is what was wished, what was heard.
    int was = desk::UNKNOWN_SOURCE;
    // What was heard of its destination when its take was sent and since, and what its router
    // showed when it served that.
    std::set<int> found{};
    bool follows_its_like = false; // a take of its source whose wish was open then
    std::uint64_t heard = 0;       // how many showings had been heard by then
    bool in_disorder = false;      // its router's answers have been
    desk::wall ended{};
};

struct change_seen {
    int before = desk::UNKNOWN_SOURCE; // what it showed over the same connection
    std::set<desk::wish_id> by;        // whose takes it has shown since
};

struct fact_seen {
    int source = desk::UNKNOWN_SOURCE;
    int told = desk::UNKNOWN_SOURCE;         // by the last showing that was heard
    bool fresh = false;                      // said over the present connection
    int last = desk::UNKNOWN_SOURCE;         // also from before a restart of the desk
    std::vector<change_seen> changes = {{}}; // the last one at the end; never empty
    desk::wall changed{};
    std::map<int, std::uint64_t> served; // by source: how many takes, when it was shown last
    // By source, the number of the last showing that no open wish had put there; and of the last
    // one that might be taken for an answer.
    std::map<int, std::uint64_t> from_elsewhere;
    std::map<int, std::uint64_t> unasked;
    std::uint64_t reported = 0; // how many takes its router had served by what was reported last
    model::shown reported_last;
    bool in_disorder = false;  // the connection's answers have been
    bool mistaken = false;     // an answer may have been taken for another's, over this connection
    bool was_mistaken = false; // or over an earlier one
    bool outlasted = false;    // a restart: only what has an author is known to have changed when
};

struct ledger {
    desk::house replayed; // from the entries alone
    desk::wall at{};      // of the entry that is looked at
    bool keeps_entries = false;
    std::vector<desk::entry> entries;
    std::map<desk::wish_id, wish_seen> wishes;
    std::map<place, std::set<desk::wish_id>> open;
    std::map<place, desk::wish_id> newest; // wish, open or not
    // Wishes that have ended without an answer since the newest was made.
    std::map<place, std::set<desk::wish_id>> unanswered;
    std::map<place, fact_seen> facts;
    std::uint64_t heard = 0; // how many showings the desk has heard
    std::map<place, desk::lock> locks;
    std::map<std::string, std::uint64_t> revisions; // by router, the house's own under ""
    std::uint64_t removed_revision = 0;             // the highest of a router that was removed
    // By router: a sum of what anyone can see of it, and the revision with which it was seen.
    std::map<std::string, std::pair<std::size_t, std::uint64_t>> seen;
    std::string wrong; // the first rule that did not hold
};

// What has been ordered of a router's backend since.
struct orders_seen {
    std::vector<std::pair<std::string, sending>> takes; // by router
    std::set<std::string> ends;
};

bool was_never_sent(desk::outcome end);

// Takes over what the desk has appended, checks all of it and the desk's state, and empties the
// lists.
orders_seen settle(ledger& ledger, desk::desk_state& desk);

// From now on nobody can tell which answer was asked for before a take and which after it, as long
// as the connection lasts.
void see_disorder(ledger& ledger, const place& where);
// The desk has heard the router say it. `awaited`: an answer for the destination is still to come.
void see_showing(ledger& ledger, const std::string& router, const reply& one, bool awaited);
void see_report(ledger& ledger, const desk::moment& now, const std::string& router,
                const std::vector<reply>& said);
// Facts are stale from now on, and takes that have not been served will never be.
void see_connection(ledger& ledger, const std::string& router, std::uint64_t served);
void see_loss(ledger& ledger, const std::string& router); // of a part of the trace
void see_removal(ledger& ledger, const std::string& router);
void see_move(ledger& ledger, const std::string& router); // to another address
void see_restart(ledger& ledger);                         // nothing is known any more but the house
void see_time(ledger& ledger, const desk::moment& now);   // the desk was told of it
void see_take(ledger& ledger, const sending& sent);       // it went to the router
void see_service(ledger& ledger, const service& done, std::uint64_t number);

void complain(ledger& ledger, const std::string& rule);

} // namespace model
