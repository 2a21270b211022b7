// The desk: the whole model of what routers say and people wish, told of commands, reports and
// time, without input or output, threads or a clock of its own. One record, passed explicitly;
// several may live in one process.
//
// Facts are what a router said last; wishes what somebody asked for. A fact changes by a report
// alone, but for a destination without a source, which only the trace tells. Every function that
// changes something appends to orders, changes and entries, which the caller carries out, publishes
// and keeps, and then empties.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "server/desk/actor.h"
#include "server/desk/entries.h"
#include "server/desk/house.h"
#include "server/desk/ids.h"
#include "server/desk/moment.h"
#include "server/desk/statistics.h"

namespace desk {

enum class link_state {
    off,        // no address
    connecting, // no connection yet
    reading,    // connected; names and routes not yet known
    ready,
    down,    // lost, or could not be made
    failing, // its backend does not stay up
};

struct fact {
    int source = UNKNOWN_SOURCE;
    moment confirmed{};            // when the router said it last
    std::uint32_t connection = 0;  // over which; 0: never, or doubted since
    std::optional<wall> changed{}; // when this source was heard first; none: that is not known
    bool may_be_older = false;     // than what was reported before it: see showing
};

enum class wish_state {
    held,   // waits in the desk: sent to the backend now, its take could not be told from another's
    queued, // with the backend, which may hold it back for LONGEST_PACING
    sent,   // the take has been sent to the router
};

// That the router said what a destination shows, as the traffic tells.
struct showing {
    std::uint64_t number = 0; // counts the router's, from 1; 0: none
    int source = UNKNOWN_SOURCE;
    monotonic heard{};
    bool may_be_older = false; // than the showing before it: to which query it is the answer cannot
                               // be told for sure
};

// For a destination, without an answer yet.
struct queries {
    std::size_t under_way = 0; // never 0
    bool overlap = false;      // or others have, since there was none
};

struct open_wish {
    wish_id id;
    int source = NO_SOURCE;
    wish_state state = wish_state::queued;
    moment begun;
    monotonic sent{};
    monotonic deadline{};          // of being sent, then of being confirmed
    int was = UNKNOWN_SOURCE;      // what the destination has shown before, by the reports
    int replaces = UNKNOWN_SOURCE; // what its take finds there, by the traffic
    std::uint32_t connection = 0;  // over which its take was sent
    std::size_t older_queries = 0; // under way when its take was sent: their answers tell nothing
    std::vector<int> older_takes;  // sent and not shown then: that their sources show tells nothing
    bool query_answered = false;   // that followed the take
    std::optional<monotonic> take_answered; // when the router acknowledged or refused it
    std::string refusal;     // in its words, until the query behind the take tells; empty: none
    std::uint64_t shown = 0; // number of the first showing that may be its take's doing; 0: none
    bool reported = false;   // its source has been, since then
    showing gone_to;         // after that; its report ends the wish
};

// A destination's last wish, when it has ended badly and nobody has accepted that. A report of what
// is shown from the one showing on, before the other, may confirm it late.
struct trouble {
    wish_id id;
    std::optional<monotonic> ended;                       // none: before the start
    monotonic late_until{};                               // but for the first report after it
    std::uint32_t connection = 0;                         // over which its take was sent
    bool shown = false;                                   // its source has been, since its take
    std::uint64_t from = 0;                               // then; before that, when it ended
    std::uint64_t until = static_cast<std::uint64_t>(-1); // of another source, after that or over
                                                          // a later connection
};

// A take whose wish has ended and that the router may still carry out.
struct unshown_take {
    int source = NO_SOURCE;
    std::uint32_t connection = 0; // over which it was sent; 0: before the start
    monotonic until{};            // then no more, but for what a later connection tells first
    monotonic ended{};            // its wish
};

// A take that the router has neither acknowledged nor refused.
struct unanswered_take {
    int destination = 0;
    std::optional<wish_id> wish; // that it is for; none when nobody here asked for it
};

struct live_router {
    link_state link = link_state::off;
    std::string link_reason = "not connected yet"; // in words; empty when ready
    wall link_since{};
    std::optional<wall> link_lost; // when it was ready no longer, the last time
    std::uint32_t connection = 0;  // counts those over which something was read; 0: none yet
    reason ending = reason::none;  // why its backend has been ordered to end, which it has not yet
    bool moved = false;            // that one is of another address than the router's by now
    int inputs = 0;                // as the backend counts them; 0: it has not
    int outputs = 0;
    std::vector<std::string> source_names; // may be more than inputs
    std::vector<std::string> destination_names;
    std::vector<fact> facts;                   // by destination, as many as outputs have ever been
    std::map<int, std::deque<open_wish>> open; // by destination, oldest first; none empty
    std::map<int, wish_id> last_wishes;        // by destination: accepted since the start
    std::map<int, trouble> troubled;           // by destination
    std::map<int, std::vector<unshown_take>> unshown_takes; // by destination
    // By destination, until it is heard: what the restart has ended. None empty.
    std::map<int, std::vector<wish_id>> ended_by_restart;
    std::map<int, queries> queries_under_way; // by destination
    // By destination: until then an answer may come to a query that was passed over: its router has
    // answered a later request.
    std::map<int, monotonic> late_answers;
    std::uint64_t showings = 0;
    std::map<int, std::deque<showing>> unreported; // by destination, oldest first; none empty
    std::deque<unanswered_take> takes_unanswered;  // oldest first
    std::set<int> disconnected;  // destinations that have shown no source; until a later report
    desk::statistics statistics; // of no revision
    std::uint64_t revision = 0;  // one more with each change that anyone can see
};

struct staged_row {
    int source = NO_SOURCE;
    int seen = UNKNOWN_SOURCE; // what the destination showed when the row was staged
    wall staged{};
};

using stage_rows = std::map<int, staged_row>; // by destination

struct order {
    enum class kind {
        send,        // the rows, as one uninterrupted run of changes and one flush
        end_backend, // at once: what it holds must not reach the router; and start it anew with
                     // the router's settings of now, unless the router has been removed
    };
    kind what = kind::send;
    std::string router;
    std::vector<std::pair<int, int>> rows; // destination, source
};

// That something is different now; what it is stands in the desk.
struct change {
    enum class kind {
        settings,
        removed,
        link,
        names,
        labels,
        fact,
        lock,
        wish,
        stage,
        salvo,
        batch,   // a new one
        routers, // which there are
        notice,
    };
    kind what = kind::fact;
    std::string router;         // empty: the house
    std::uint64_t revision = 0; // of the router or of the house; 0 for a batch or notice
    int position = 0;           // of a fact, lock, wish or label
    std::string person;         // of a stage or notice
    ulid id;                    // of a salvo, batch or notice, of a wish's batch
};

struct desk_state {
    desk::house house;
    std::map<std::string, live_router, std::less<>> live; // by id, the same as in the house
    std::map<std::string, std::map<std::string, stage_rows, std::less<>>, std::less<>>
        stages;                         // by person, then router; none empty
    std::uint64_t revision = 0;         // of the house: salvos, and which routers there are
    std::uint64_t removed_revision = 0; // the highest of a router that was removed: where new
                                        // ones begin, so that one of its id tells it no second time
    std::uint64_t set_ups = 0;          // how many times a router has been set or removed
    id_maker ids;
    std::set<std::pair<monotonic, wish_id>> deadlines;                // of open wishes
    std::set<std::pair<wall, std::pair<std::string, int>>> lock_ends; // router and destination
    std::set<std::pair<wall, ulid>> salvo_ends; // when deleted salvos are forgotten

    // For the caller, oldest first.
    std::vector<order> orders;
    std::vector<change> changes;
    std::vector<entry> entries;
};

// Null when there is none of this id.
const house_router* find_router(const desk_state& desk, const std::string& router);
const live_router* find_live(const desk_state& desk, const std::string& router);

// The router has said on the present connection, which is ready, what the destination shows.
bool is_fresh(const live_router& router, int destination);

// How many wishes have not been sent yet.
std::size_t count_waiting(const live_router& router);

// Since when something of what the router is known to show is from an earlier connection. None when
// there is nothing of that kind.
std::optional<wall> stale_since(const live_router& router);

// What the destination is known to show, fresh or not.
int source_shown(const live_router& router, int destination);

// Who put there what the destination is known to show. Null when that is not known.
const authorship* author_shown(const desk_state& desk, const std::string& router, int destination);

} // namespace desk
