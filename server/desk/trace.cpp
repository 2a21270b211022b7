#include "server/desk/trace.h"

#include <algorithm>

#include "server/desk/reports.h"
#include "server/desk/showings.h"
#include "server/desk/steps.h"
#include "server/desk/unshown.h"
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
    if (wish.shown != 0 || (asked && !wish.query_answered)) return true;
    return source != wish.was && wish.was != UNKNOWN_SOURCE; // else it may be of before the take
}

// The oldest query for the destination is no longer under way. False when there is none.
bool end_query(live_router& live, int destination)
{
    const auto queries = live.queries_under_way.find(destination);
    if (queries == live.queries_under_way.end()) return false;
    if (--queries->second.under_way == 0) live.queries_under_way.erase(queries);
    return true;
}

bool may_come_late(const live_router& live, const moment& now, int destination)
{
    const auto late = live.late_answers.find(destination);
    return late != live.late_answers.end() && now.steady <= late->second;
}

bool overlap(const live_router& live, int destination)
{
    const auto queries = live.queries_under_way.find(destination);
    return queries != live.queries_under_way.end() && queries->second.overlap;
}

// A query that followed the take has no answer yet.
bool is_asked_after(const live_router& live, int destination, const open_wish& wish)
{
    const auto queries = live.queries_under_way.find(destination);
    return queries != live.queries_under_way.end() &&
           queries->second.under_way > wish.older_queries;
}

// Whether the source was reported last and nothing else has been shown since: of this the backend
// may pass over what it hears.
bool is_reported(const live_router& live, const moment& now, int destination, int source)
{
    const auto position = static_cast<std::size_t>(destination);
    return position < live.facts.size() && live.facts[position].connection == live.connection &&
           live.facts[position].source == source && is_settled(live, now, destination, source);
}

// What this tells of the destination's last wish, when that has gone wrong.
void judge_trouble(const desk_state& desk, live_router& live, int destination,
                   const showing& now_shown)
{
    const auto found = live.troubled.find(destination);
    if (found == live.troubled.end()) return;
    trouble& trouble = found->second;
    const wish* const row = find_wish(desk.house, trouble.id);
    const bool wished = row != nullptr && row->wished.source == now_shown.source;
    if (wished && !trouble.shown) {
        trouble.shown = true;
        trouble.from = now_shown.number;
    } else if (!wished && (trouble.shown || trouble.connection != live.connection)) {
        trouble.until = std::min(trouble.until, now_shown.number);
    }
}

// Whether a take of another source that came before the wish's is still to be shown: that its own
// source is shown may be of before that one.
bool follows_unshown(const std::deque<open_wish>& open, const open_wish& wish)
{
    bool unshown = false;
    for (auto older = open.begin(); older->id != wish.id; ++older)
        if (older->source != wish.source) unshown = older->shown == 0;
    return unshown;
}

// Whether another take of its source, before it, is shown by the same.
bool follows_its_like(const std::deque<open_wish>& open, const open_wish& wish)
{
    for (auto older = open.begin(); older->id != wish.id; ++older)
        if (older->source == wish.source && older->shown == wish.shown) return true;
    return false;
}

void note_shown(live_router& live, int destination, open_wish& wish, const showing& now_shown)
{
    if (wish.shown == 0) {
        wish.shown = now_shown.number;
        if (follows_its_like(live.open.at(destination), wish)) wish.replaces = now_shown.source;
    }
    wish.gone_to = {};
    forget_unshown(live, destination, wish.connection);
}

void judge_refused(desk_state& desk, const moment& now, const wish_id& id, const showing& now_shown,
                   bool asked)
{
    open_wish& wish = *find_open(desk, id);
    const bool is_shown = now_shown.source == wish.source;
    if (!asked && !is_shown) return;
    wish.query_answered = asked;
    if (is_shown) wish.shown = now_shown.number; // nobody else is named for it
    end_refused(desk, now, id, now_shown.source);
}

void judge_wish(desk_state& desk, const moment& now, live_router& live, int destination,
                const wish_id& id, const showing& now_shown, bool asked, bool late)
{
    open_wish& wish = *find_open(desk, id);
    const int source = now_shown.source;
    const bool old_answer = asked && wish.older_queries > 0;
    if (old_answer) --wish.older_queries;
    if (!wish.refusal.empty()) {
        if (!old_answer) judge_refused(desk, now, id, now_shown, asked);
        return;
    }
    const bool older = old_answer || late || may_be_older(wish, source);
    if (source == wish.source && !old_answer &&
        (asked || !follows_unshown(live.open.at(destination), wish)))
        note_shown(live, destination, wish, now_shown);
    const bool against = source != wish.source && !older && contradicts(wish, source, asked);
    wish.query_answered = wish.query_answered || (asked && !older);
    if (against && wish.shown == 0) return end_contradicted(desk, now, id, source);
    if (against) wish.gone_to = now_shown; // the report of the wished one may be under way
    if (wish.shown == 0 && !late) wish.replaces = source; // it has shown that before the take
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
    if (sent) {
        for (const wish_id& id : older)
            end_superseded(desk, now, id, *sent);
        mark_sent(desk, now, *sent);
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
    open->refusal = cut_text(refusal);
    if (refusal.empty() || is_asked_after(*live, destination, *open))
        tell_change(desk, router, change::kind::wish, destination, wish->batch);
    else
        end_refused(desk, now, *wish, open->shown != 0 ? open->source : UNKNOWN_SOURCE);
}

void trace_take_unanswered(desk_state& desk, const std::string& router)
{
    live_router* live = find_live(desk, router);
    if (live != nullptr && !live->takes_unanswered.empty()) live->takes_unanswered.pop_front();
}

void trace_query(desk_state& desk, const std::string& router, int destination)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr) return;
    queries& queries = live->queries_under_way[destination];
    queries.overlap = queries.under_way > 0;
    if (queries.under_way < QUERIES_UNDER_WAY) ++queries.under_way;
}

void trace_query_unanswered(desk_state& desk, const moment& now, const std::string& router,
                            int destination, bool passed_over)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr || !end_query(*live, destination)) return;
    if (passed_over && destination < ROUTED_POSITIONS)
        live->late_answers[destination] = now.steady + LATE_ANSWER;
    if (auto* open = open_on(*live, destination))
        for (open_wish& wish : *open)
            if (wish.older_queries > 0) --wish.older_queries;
}

void trace_route(desk_state& desk, const moment& now, const std::string& router, int destination,
                 int source)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr) return;
    const bool overlapping = overlap(*live, destination);
    const bool asked = end_query(*live, destination);
    if (destination < 0 || destination >= ROUTED_POSITIONS) return;
    const bool late = may_come_late(*live, now, destination);
    const showing now_shown = note_showing(*live, now, destination, source, overlapping || late);
    judge_trouble(desk, *live, destination, now_shown);
    std::vector<wish_id> sent;
    if (auto* open = open_on(*live, destination))
        for (const open_wish& wish : *open)
            if (wish.state == wish_state::sent) sent.push_back(wish.id);
    for (const wish_id& id : sent)
        judge_wish(desk, now, *live, destination, id, now_shown, asked, late);
    const bool known = is_reported(*live, now, destination, source);
    if (known && !now_shown.may_be_older)
        live->facts[static_cast<std::size_t>(destination)].may_be_older = false;
    if (known && confirm_wishes(desk, now, router, destination, now_shown.number, source))
        tell_change(desk, router, change::kind::fact, destination); // whose doing it is
    if (source != NO_SOURCE) return;
    const std::pair<int, int> route{destination, source};
    report_routes(desk, now, router, {&route, 1});
    live->disconnected.insert(destination);
}

} // namespace desk
