// A backend and its router as the desk meets them, for random histories. The backend keeps the last
// change of each destination until its next burst, sends a burst in the order of the destinations
// and asks after each take; the router answers in order, or an answer overtakes another; it
// refuses, forgets or stays mute. What happens next is for the caller to decide: each function is
// one thing that can happen, and tells the desk of it, or does nothing where it cannot happen.
#pragma once

#include <deque>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "server/desk/desk.h"

namespace model {

// What a destination shows, and whose takes it has shown since it changed last: nobody's when that
// was from outside.
struct shown {
    int source = desk::NO_SOURCE;
    std::set<desk::wish_id> by;
    bool from_outside = false; // it changed last by a take from outside
};

struct sending {
    int destination = 0;
    int source = 0;
    desk::wish_id by;
};

struct request {
    bool is_take = false;
    sending sent; // of a query only the destination
};

struct reply {
    enum class kind { acknowledged, refused, route };
    kind what = kind::route;
    int destination = 0;
    shown now;
    std::uint64_t served = 0; // how many takes the router had served by then
    bool asked = true;
    desk::monotonic heard{};
    bool comes_back = false; // reported as one with another source before it
};

enum class manner { answers, refuses, forgets, is_mute };

struct router {
    std::string id;
    bool told = true; // the desk hears of what passes on the line

    // The backend.
    std::map<int, sending> pending; // by destination
    std::deque<sending> burst;      // being sent
    std::deque<reply> to_report;
    std::map<int, int> reported; // by destination, on this connection: the source
    // By destination that has shown none, as the desk has heard: what it has shown since. What is
    // reported of it and is not among these was said before that.
    std::map<int, std::set<int>> since_none;

    // The line: both empty while it is down.
    bool up = false;
    std::deque<request> requests;
    std::deque<reply> replies;

    // The router.
    model::manner manner = manner::answers;
    std::vector<shown> routes; // by destination
    std::uint64_t served = 0;  // how many takes it has served
};

// Whether an answer for the destination is to come, after the next reply.
bool is_awaited(const router& router, int destination);

// What a destination shows, as the router says it now.
reply reply_of(const router& router, int destination);

router make_router(const std::string& id, int outputs);

// The backend.
void begin_burst(router& router);
// The take that was sent, if one was: then the query as well.
std::optional<sending> send_next(desk::desk_state& desk, const desk::moment& now, router& router);
void send_query(desk::desk_state& desk, router& router, int destination);
void drop_pending(router& router); // after its time limit
// Returns what the desk knows by that alone: that there is no source, or what was reported last
// when no other one waits to be reported.
std::vector<reply> hear_next(desk::desk_state& desk, const desk::moment& now, router& router);
// At most so many of what it has heard, in one report: of each destination the last. What the desk
// knows by that is returned.
std::vector<reply> report(desk::desk_state& desk, const desk::moment& now, router& router,
                          std::size_t most);
void ended(desk::desk_state& desk, const desk::moment& now, router& router, bool heard_all);

// The router.
// A take that it has served, and what its destination showed before that.
struct service {
    desk::wish_id taken;
    int before = desk::UNKNOWN_SOURCE;
};
std::optional<service> answer_next(router& router);
// Of two answers on their way that show what a destination shows, the second comes first. False
// when there are none.
bool overtake(router& router, int destination);
void change_from_outside(router& router, int destination, int source, bool says_so);

// The line.
void cut(router& router);

} // namespace model
