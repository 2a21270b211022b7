#include "server/desk/wishes.h"

#include <algorithm>

#include "server/desk/showings.h"
#include "server/desk/steps.h"
#include "server/desk/unshown.h"
#include "server/desk/words.h"

namespace desk {

namespace {
const route& route_of(const desk_state& desk, const wish_id& id)
{
    return desk.house.batches.at(id.batch).rows.at(id.row).wished;
}

// The open ones of a destination are first sent, then queued ones; the newest may be held. Whether
// the next, with this source, is to be held: a take of its source could be that of an older one.
bool must_wait(const std::deque<open_wish>& open, int source)
{
    return std::any_of(open.begin(), open.end(), [&](const open_wish& wish) {
        return wish.state == wish_state::queued && wish.source == source;
    });
}

// Sends the held wish of a destination, when it has one that need not wait any longer.
void release_held(desk_state& desk, const std::string& router, int destination)
{
    const auto found = find_live(desk, router)->open.find(destination);
    if (found == find_live(desk, router)->open.end()) return;
    open_wish& newest = found->second.back();
    if (newest.state != wish_state::held || must_wait(found->second, newest.source)) return;
    newest.state = wish_state::queued;
    desk.orders.push_back({order::kind::send, router, {{destination, newest.source}}});
}

open_wish close_wish(desk_state& desk, live_router& live, int destination, const wish_id& id)
{
    std::deque<open_wish>& open = live.open.at(destination);
    const auto place = std::find_if(open.begin(), open.end(),
                                    [&](const open_wish& wish) { return wish.id == id; });
    open_wish closed = *place;
    open.erase(place);
    if (open.empty()) live.open.erase(destination);
    desk.deadlines.erase({closed.deadline, id});
    return closed;
}

// Its take may still have to be reported, as it has not been shown, or only by the traffic.
bool is_unreported(const open_wish& closed)
{
    return closed.shown == 0 || !closed.reported;
}

// Until when the router may still carry out the take of a wish that has ended. What it has answered
// over a later connection tells nothing of that: it may read the take's own later still.
monotonic late_until(const live_router& live, const moment& now, const open_wish& closed)
{
    const bool answered = closed.query_answered && closed.connection == live.connection;
    return now.steady + (answered ? SWITCHING_TIME : LATE_LIMIT);
}

// Of a wish that has ended badly.
void note_trouble(live_router& live, const moment& now, int destination, const open_wish& closed)
{
    trouble made{closed.id, now.steady, late_until(live, now, closed), closed.connection};
    made.shown = closed.shown != 0;
    made.from = made.shown ? closed.shown : live.showings + 1;
    if (closed.gone_to.number != 0) made.until = closed.gone_to.number;
    const int told = source_told(live, now, destination);
    if (closed.connection != live.connection && told != UNKNOWN_SOURCE && told != closed.source)
        made.until = std::min(made.until, live.showings);
    live.troubled[destination] = made;
}

// What the wish's take finds there when no report has brought what those before it have done.
int replaced_by(const std::deque<open_wish>& open, std::size_t wish)
{
    int found = open[wish].replaces;
    for (std::size_t i = wish; i-- > 0;)
        if (open[i].shown != 0 && !open[i].reported && open[i].source == found &&
            open[i].replaces != UNKNOWN_SOURCE)
            found = open[i].replaces;
    return found;
}

void set_deadline(desk_state& desk, open_wish& wish, monotonic deadline)
{
    desk.deadlines.erase({wish.deadline, wish.id});
    wish.deadline = deadline;
    desk.deadlines.insert({deadline, wish.id});
}
} // namespace

bool open_wish_for(desk_state& desk, const moment& now, const wish_id& id, const route& wished)
{
    live_router& live = *find_live(desk, wished.router);
    const auto before = live.open.find(wished.destination);
    if (before != live.open.end() && before->second.back().state == wish_state::held)
        end_superseded(desk, now, before->second.back().id, id);

    std::deque<open_wish>& open = live.open[wished.destination];
    open_wish wish;
    wish.id = id;
    wish.source = wished.source;
    wish.was = find_wish(desk.house, id)->was;
    wish.state = must_wait(open, wished.source) ? wish_state::held : wish_state::queued;
    wish.begun = now;
    set_deadline(desk, open.emplace_back(wish), now.steady + SEND_LIMIT);
    live.last_wishes[wished.destination] = id;
    live.troubled.erase(wished.destination);
    tell_change(desk, wished.router, change::kind::wish, wished.destination, id.batch);
    return wish.state == wish_state::queued;
}

bool may_be_older(const open_wish& wish, int shown)
{
    const std::vector<int>& takes = wish.older_takes;
    return wish.shown == 0 && std::find(takes.begin(), takes.end(), shown) != takes.end();
}

open_wish* find_open(desk_state& desk, const wish_id& id)
{
    const wish* row = find_wish(desk.house, id);
    if (row == nullptr || row->end != outcome::open) return nullptr;
    live_router* live = find_live(desk, row->wished.router);
    if (live == nullptr) return nullptr;
    for (open_wish& wish : live->open.at(row->wished.destination))
        if (wish.id == id) return &wish;
    return nullptr;
}

void mark_sent(desk_state& desk, const moment& now, const wish_id& id)
{
    open_wish& wish = *find_open(desk, id);
    const route& wished = route_of(desk, id);
    const live_router& live = *find_live(desk, wished.router);
    const auto queries = live.queries_under_way.find(wished.destination);
    if (is_fresh(live, wished.destination)) wish.was = source_shown(live, wished.destination);
    wish.replaces = source_told(live, now, wished.destination);
    if (wish.replaces == UNKNOWN_SOURCE) wish.replaces = wish.was;
    wish.older_takes = unshown_takes(live, now, wished.destination);
    std::erase(wish.older_takes, wish.replaces); // it has been shown
    for (const open_wish& other : live.open.at(wished.destination))
        if (other.state == wish_state::sent) wish.older_takes.push_back(other.source);
    wish.state = wish_state::sent;
    wish.connection = live.connection;
    wish.sent = now.steady;
    wish.older_queries = queries == live.queries_under_way.end() ? 0 : queries->second.under_way;
    set_deadline(desk, wish,
                 now.steady + find_router(desk, wished.router)->settings.confirmation_limit);
    tell_change(desk, wished.router, change::kind::wish, wished.destination, id.batch);
    release_held(desk, wished.router, wished.destination);
}

void end_wish(desk_state& desk, const moment& now, const wish_id& id, outcome end,
              const std::string& detail, reason why)
{
    const route wished = route_of(desk, id);
    live_router& live = *find_live(desk, wished.router);
    const open_wish closed = close_wish(desk, live, wished.destination, id);
    constexpr monotonic LEAST{1}; // what was accepted has not ended at once
    wish_ended ended;
    ended.id = id;
    ended.end = end;
    ended.why = why;
    ended.detail = detail;
    ended.ended_after = std::max(LEAST, now.steady - closed.begun.steady);
    ended.was = closed.state == wish_state::sent ? closed.replaces : closed.was;
    if (closed.state == wish_state::sent) ended.sent_after = closed.sent - closed.begun.steady;
    if (closed.take_answered) ended.answered_after = *closed.take_answered - closed.begun.steady;
    if (end == outcome::confirmed) {
        ended.doings = doings_of(desk.house, id, ended.was);
        ended.since = live.facts.at(static_cast<std::size_t>(wished.destination)).changed;
    }
    count_end(live.statistics, now.utc, end, ended.ended_after);
    record_entry(desk, {now.utc, "", "", ended});

    const wish* row = find_wish(desk.house, id); // none when its batch has been forgotten by now
    if (row != nullptr && is_trouble(*row) && live.last_wishes.at(wished.destination) == id)
        note_trouble(live, now, wished.destination, closed);
    if (is_unreported(closed) &&
        (end == outcome::timed_out || end == outcome::contradicted || end == outcome::unknown)) {
        const monotonic until = closed.shown == 0            ? late_until(live, now, closed)
                                : closed.gone_to.number == 0 ? now.steady + LATE_LIMIT
                                                             : now.steady + REPORT_AGE;
        note_unshown(live, now, wished.destination,
                     {closed.source, closed.connection, until, now.steady});
    }
    tell_change(desk, wished.router, change::kind::wish, wished.destination, id.batch);
    release_held(desk, wished.router, wished.destination);
}

void end_unsent(desk_state& desk, const moment& now, const wish_id& id, reason why)
{
    const char* const detail = why == reason::link_lost ? "the link was lost before it was sent"
                               : why == reason::not_sent_in_time
                                   ? "it could not be sent in time"
                                   : "the backend was ended before it was sent";
    end_wish(desk, now, id, outcome::not_sent, detail, why);
}

void end_maybe_sent(desk_state& desk, const moment& now, const wish_id& id)
{
    find_open(desk, id)->connection = find_live(desk, route_of(desk, id).router)->connection;
    end_wish(desk, now, id, outcome::timed_out,
             "it may have been sent: part of the traffic could not be read");
}

void end_superseded(desk_state& desk, const moment& now, const wish_id& id, const wish_id& by)
{
    const route& newer = route_of(desk, by);
    end_wish(desk, now, id, outcome::superseded,
             desk.house.batches.at(by.batch).person + " asked for " +
                 source_text(desk, newer.router, newer.source) + " before it was sent");
}

void end_refused(desk_state& desk, const moment& now, const wish_id& id, int shown)
{
    const open_wish& wish = *find_open(desk, id);
    const std::string yet =
        shown != wish.source
            ? ""
            : "; " + source_text(desk, route_of(desk, id).router, shown) + " is shown all the same";
    end_wish(desk, now, id, outcome::refused, wish.refusal + yet);
}

void end_contradicted(desk_state& desk, const moment& now, const wish_id& id, int shown)
{
    const route& wished = route_of(desk, id);
    const std::string name = source_text(desk, wished.router, shown);
    const open_wish& wish = *find_open(desk, id);
    const bool still = wish.shown == 0 && shown == wish.was;
    end_wish(desk, now, id, outcome::contradicted,
             still ? "the router still shows " + name
                   : "the router shows " + name +
                         " instead: " + taker_text(desk, wished.router, wished.destination, shown));
}

bool confirm_wishes(desk_state& desk, const moment& now, const std::string& router, int destination,
                    std::uint64_t newest, int source)
{
    live_router& live = *find_live(desk, router);
    const auto found = live.open.find(destination);
    if (found == live.open.end()) return false;
    std::deque<open_wish>& open = found->second;
    std::size_t count = open.size(); // up to the newest of them
    while (count > 0 && (open[count - 1].source != source || open[count - 1].shown == 0 ||
                         open[count - 1].shown > newest))
        --count;
    std::vector<wish_id> confirmed;
    std::vector<wish_id> passed;
    for (std::size_t i = 0; i < count; ++i) {
        (open[i].source == source ? confirmed : passed).push_back(open[i].id);
        if (open[i].source == source) open[i].replaces = replaced_by(open, i);
    }
    // Those first: what they replace is known as long as nothing else ends.
    for (const wish_id& id : confirmed)
        end_wish(desk, now, id, outcome::confirmed, "");
    for (const wish_id& id : passed)
        end_contradicted(desk, now, id, source);
    return count > 0;
}

void end_backend(desk_state& desk, const moment& now, const std::string& router, reason why)
{
    live_router& live = *find_live(desk, router);
    if (live.ending != reason::none) return;
    live.ending = why;
    desk.orders.push_back({order::kind::end_backend, router, {}});
    std::vector<wish_id> held;
    for (const auto& [destination, open] : live.open)
        if (open.back().state == wish_state::held) held.push_back(open.back().id);
    for (const wish_id& id : held)
        end_unsent(desk, now, id, why);
}

void end_elsewhere(desk_state& desk, const moment& now, const wish_id& id)
{
    const route wished = route_of(desk, id);
    end_wish(desk, now, id, outcome::unknown, "the router was given another address");
    std::map<int, trouble>& troubled = find_live(desk, wished.router)->troubled;
    const auto made = troubled.find(wished.destination);
    if (made != troubled.end() && made->second.id == id) troubled.erase(made);
}

void end_sent_elsewhere(desk_state& desk, const moment& now, const std::string& router)
{
    std::vector<wish_id> sent;
    for (const auto& [destination, open] : find_live(desk, router)->open)
        for (const open_wish& wish : open)
            if (wish.state == wish_state::sent) sent.push_back(wish.id);
    for (const wish_id& id : sent)
        end_elsewhere(desk, now, id);
}

} // namespace desk
