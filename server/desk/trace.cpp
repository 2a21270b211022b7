#include "server/desk/trace.h"

#include <algorithm>

#include "server/desk/reports.h"
#include "server/desk/steps.h"
#include "server/desk/wishes.h"
#include "server/desk/words.h"

namespace desk {

namespace {
std::deque<open_wish>* open_on(live_router& live, int destination)
{
    const auto open = live.open.find(destination);
    return open == live.open.end() ? nullptr : &open->second;
}

// The queued wish for this source; there is one at most. Queued ones before it come into `older`.
std::optional<wish_id> wish_of_take(const std::deque<open_wish>& open, int source,
                                    std::vector<wish_id>& older)
{
    for (const open_wish& wish : open) {
        if (wish.state != wish_state::queued) continue;
        if (wish.source == source) return wish.id;
        older.push_back(wish.id);
    }
    return std::nullopt;
}

// Whether what the router shows is against the wish; it does not show its source. `asked`: in
// answer to a query that followed the take.
bool contradicts(const open_wish& wish, int source, bool asked)
{
    if (asked && !wish.query_answered) return true;
    const bool may_be_old = wish.was == UNKNOWN_SOURCE && !wish.shown;
    return source != wish.was && !may_be_old;
}

// The oldest query for the destination is no longer under way. False when there is none.
bool end_query(live_router& live, int destination)
{
    const auto queries = live.queries_under_way.find(destination);
    if (queries == live.queries_under_way.end()) return false;
    if (--queries->second == 0) live.queries_under_way.erase(queries);
    return true;
}

void judge_wish(desk_state& desk, const moment& now, const wish_id& id, int source, bool asked)
{
    open_wish& wish = *find_open(desk, id);
    const bool old_answer = asked && wish.older_queries > 0;
    if (old_answer) --wish.older_queries;
    const bool old_take = std::find(wish.older_takes.begin(), wish.older_takes.end(), source) !=
                          wish.older_takes.end();
    const bool older = old_answer || (old_take && !wish.shown);
    if (source == wish.source) {
        wish.shown = true;
        wish.gone_to = UNKNOWN_SOURCE;
    } else if (!older && contradicts(wish, source, asked)) {
        if (!wish.shown) return end_contradicted(desk, now, id, source);
        wish.gone_to = source; // the report of the wished one may be under way
    }
    wish.query_answered = wish.query_answered || (asked && !older);
}
} // namespace

void trace_take(desk_state& desk, const moment& now, const std::string& router, int destination,
                int source)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr) return;
    std::optional<wish_id> sent;
    std::vector<wish_id> older;
    if (const auto* open = open_on(*live, destination)) sent = wish_of_take(*open, source, older);
    if (sent && live->may_hold.contains({destination, source})) {
        find_open(desk, *sent)->maybe_sent = true; // or this is the take of a wish that has ended
        sent.reset();
    }
    if (sent) {
        for (const wish_id& id : older)
            if (find_open(desk, id)->maybe_sent)
                end_maybe_sent(desk, now, id);
            else
                end_superseded(desk, now, id, *sent);
        mark_sent(desk, now, *sent);
        std::erase_if(live->may_hold,
                      [&](const auto& change) { return change.first == destination; });
    }
    if (live->takes_unanswered.size() == TAKES_UNANSWERED) live->takes_unanswered.pop_front();
    live->takes_unanswered.push_back({destination, sent});
}

void trace_take_answer(desk_state& desk, const moment& now, const std::string& router,
                       const std::string& refusal)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr || live->takes_unanswered.empty()) return;
    const auto [destination, wish] = live->takes_unanswered.front();
    live->takes_unanswered.pop_front();
    open_wish* const open = wish ? find_open(desk, *wish) : nullptr;
    if (open == nullptr) return;
    open->take_answered = now.steady;
    if (refusal.empty())
        tell_change(desk, router, change::kind::wish, destination, wish->batch);
    else
        end_wish(desk, now, *wish, outcome::refused, cut_text(refusal));
}

void trace_query(desk_state& desk, const std::string& router, int destination)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr) return;
    std::size_t& count = live->queries_under_way[destination];
    if (count < QUERIES_UNDER_WAY) ++count;
}

void trace_query_unanswered(desk_state& desk, const std::string& router, int destination)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr || !end_query(*live, destination)) return;
    if (auto* open = open_on(*live, destination))
        for (open_wish& wish : *open)
            if (wish.older_queries > 0) --wish.older_queries;
}

void trace_route(desk_state& desk, const moment& now, const std::string& router, int destination,
                 int source)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr) return;
    const bool asked = end_query(*live, destination);
    std::vector<wish_id> sent;
    if (auto* open = open_on(*live, destination))
        for (open_wish& wish : *open) {
            if (wish.state == wish_state::sent) sent.push_back(wish.id);
            wish.shown = wish.shown || (wish.maybe_sent && wish.source == source);
        }
    for (const wish_id& id : sent)
        judge_wish(desk, now, id, source, asked);
    live->disconnected.erase(destination);
    if (source != NO_SOURCE) return;
    const std::pair<int, int> route{destination, source};
    report_routes(desk, now, router, {&route, 1});
    live->disconnected.insert(destination);
}

void trace_lost(desk_state& desk, const std::string& router)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr) return;
    live->queries_under_way.clear();
    live->takes_unanswered.clear();
    live->disconnected.clear();
    for (auto& [destination, open] : live->open)
        for (open_wish& wish : open) {
            wish.maybe_sent = wish.maybe_sent || wish.state == wish_state::queued;
            wish.shown = wish.shown || wish.state != wish_state::held;
            wish.query_answered = true; // what comes may have been asked for before the take
            wish.older_queries = 0;
        }
}

} // namespace desk
