// A backend and its router as the desk meets them, for random histories. The backend keeps the last
// change of each destination until its next burst, sends a burst in the order of the destinations
// and asks after each take; the router answers in order, refuses, forgets or stays mute. What
// happens next is for the caller to decide: each function is one thing that can happen, and tells
// the desk of it, or does nothing where it cannot happen.
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
    bool overtaken = false; // the desk knows by the trace that the destination shows no source now
};

enum class manner { answers, refuses, forgets, is_mute };

struct router {
    std::string id;
    bool told = true; // the desk hears of what passes on the line

    // The backend.
    std::map<int, sending> pending; // by destination
    std::deque<sending> burst;      // being sent
    std::deque<reply> to_report;

    // The line: both empty while it is down.
    bool up = false;
    std::deque<request> requests;
    std::deque<reply> replies;

    // The router.
    model::manner manner = manner::answers;
    std::vector<shown> routes; // by destination
};

router make_router(const std::string& id, int outputs);

// The backend.
void begin_burst(router& router);
// The take that was sent, if one was: then the query as well.
std::optional<sending> send_next(desk::desk_state& desk, const desk::moment& now, router& router);
void send_query(desk::desk_state& desk, router& router, int destination);
void drop_pending(router& router); // after its time limit
// Returns what the desk knows by that alone.
std::vector<reply> hear_next(desk::desk_state& desk, const desk::moment& now, router& router);
void lose_trace(desk::desk_state& desk, router& router);
// At most so many of what it has heard, in order, in one report; those that count are returned.
std::vector<reply> report(desk::desk_state& desk, const desk::moment& now, router& router,
                          std::size_t most);
void ended(desk::desk_state& desk, const desk::moment& now, router& router);

// The router.
void answer_next(router& router);
void change_from_outside(router& router, int destination, int source, bool says_so);

// The line.
void cut(router& router);

} // namespace model
