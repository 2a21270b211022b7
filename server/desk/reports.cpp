#include "server/desk/reports.h"

#include <algorithm>
#include <utility>

#include "server/desk/showings.h"
#include "server/desk/steps.h"
#include "server/desk/unshown.h"
#include "server/desk/wishes.h"
#include "server/desk/words.h"

namespace desk {

namespace {
void forget_traffic(live_router& live)
{
    live.queries_under_way.clear();
    live.late_answers.clear();
    live.takes_unanswered.clear();
    for (auto& [destination, open] : live.open)
        for (open_wish& wish : open)
            wish.older_queries = 0;
}

bool holds_queued(const live_router& live)
{
    return std::any_of(live.open.begin(), live.open.end(), [](const auto& of_destination) {
        return std::any_of(of_destination.second.begin(), of_destination.second.end(),
                           [](const open_wish& wish) { return wish.state == wish_state::queued; });
    });
}

// Ends the wishes whose source the router has shown, before this one.
void end_passed_wishes(desk_state& desk, const moment& now, const live_router& live,
                       int destination, const reported_run& reported)
{
    const auto open = live.open.find(destination);
    if (open == live.open.end()) return;
    std::vector<wish_id> passed;
    for (const open_wish& wish : open->second)
        if (wish.gone_to.source == reported.source && wish.gone_to.number <= reported.last)
            passed.push_back(wish.id);
    for (const wish_id& id : passed)
        end_contradicted(desk, now, id, reported.source);
}

// Whether a sent wish may be why the source is shown: its own take, or one before it of which it
// has not been shown yet that it has passed.
bool may_be_taken(const live_router& live, int destination, int source)
{
    const auto open = live.open.find(destination);
    return open != live.open.end() &&
           std::any_of(open->second.begin(), open->second.end(), [&](const open_wish& wish) {
               return wish.state == wish_state::sent &&
                      (wish.source == source || may_be_older(wish, source));
           });
}

// What the destination showed on this connection, by the last report. UNKNOWN_SOURCE: none.
int shown_before(const live_router& live, const fact& before)
{
    return before.connection == live.connection ? before.source : UNKNOWN_SOURCE;
}

// What takes find there that are still to be sent, or, by what only the report tells, to be shown.
void note_reported(live_router& live, int destination, int source, bool told)
{
    const auto open = live.open.find(destination);
    if (open == live.open.end()) return;
    for (open_wish& wish : open->second) {
        if (wish.state != wish_state::sent) wish.was = source;
        if (wish.shown == 0 && !told) wish.replaces = source;
        if (wish.shown != 0 && wish.source == source) wish.reported = true;
    }
}

// Whether what is reported now may be the doing of the troubled wish. One that had ended before the
// start may have been followed by anything, but for those that the restart itself has ended.
bool may_be_late(const live_router& live, const trouble& trouble, const wish& row,
                 const reported_run& reported, const fact& before, monotonic now)
{
    const int shown = shown_before(live, before);
    const int was = shown != UNKNOWN_SOURCE ? shown : row.was;
    if (reported.source != row.wished.source || was == reported.source) return false;
    if (row.end == outcome::unknown) return !row.found && !trouble.ended;
    if (row.end != outcome::timed_out && row.end != outcome::contradicted) return false;
    if (!trouble.ended || reported.last < trouble.from || reported.first >= trouble.until)
        return false;
    const bool is_first = before.confirmed.steady <= *trouble.ended;
    return now <= trouble.late_until || (is_first && row.end == outcome::timed_out);
}

// What the router shows is told of all wishes that a restart has ended.
void note_found(desk_state& desk, const moment& now, live_router& live, const route& shown)
{
    const auto ended = live.ended_by_restart.extract(shown.destination);
    if (!ended) return;
    for (const wish_id& id : ended.mapped()) {
        const wish* const row = find_wish(desk.house, id);
        if (row == nullptr) continue; // forgotten
        const std::string detail = row->detail + "; then the router showed " +
                                   source_text(desk, shown.router, shown.source);
        record_entry(desk, {now.utc, "", "", wish_found{id, shown.source, detail}});
        tell_change(desk, shown.router, change::kind::wish, shown.destination, id.batch);
    }
}

// Since the batch was made. Across a restart only the wall clock tells.
monotonic time_since(const batch& made, const wish& row, const trouble& trouble, const moment& now)
{
    if (trouble.ended && row.ended_after) return *row.ended_after + (now.steady - *trouble.ended);
    return std::max(wall{}, now.utc - made.made);
}

// The destination's last wish, when it went wrong, and its source is shown now. False when that
// confirms nothing.
bool confirm_late(desk_state& desk, const moment& now, live_router& live, const route& shown,
                  const reported_run& reported, const fact& before)
{
    const auto troubled = live.troubled.find(shown.destination);
    if (troubled == live.troubled.end()) return false;
    const wish_id id = troubled->second.id;
    const wish* const row = find_wish(desk.house, id);
    if (row == nullptr || !may_be_late(live, troubled->second, *row, reported, before, now.steady))
        return false;
    const monotonic after =
        time_since(desk.house.batches.at(id.batch), *row, troubled->second, now);
    const int was = shown_before(live, before);
    forget_unshown(live, shown.destination, troubled->second.connection);
    live.troubled.erase(troubled);
    record_entry(desk,
                 {now.utc, "", "",
                  confirmed_late{id, after, was, doings_of(desk.house, id, was),
                                 live.facts[static_cast<std::size_t>(shown.destination)].changed}});
    tell_change(desk, shown.router, change::kind::wish, shown.destination, id.batch);
    return true;
}

authorship last_author(const desk_state& desk, const route& shown)
{
    const authorship* const author = find_author(desk.house, shown.router, shown.destination);
    return author == nullptr ? authorship{} : *author;
}

// What the destination was known to show. Where no report tells, its author may, of before the
// start.
int last_source(const fact& before, const authorship& author)
{
    return before.source != UNKNOWN_SOURCE ? before.source : author.source;
}

// Whether it may be the doing of the destination's last wish all the same, which has gone wrong and
// is not confirmed by it: a refusal may have been of something else, and a router may read a take
// after the connection over which it was sent.
bool may_be_troubled_take(const desk_state& desk, const live_router& live, const route& shown,
                          const reported_run& reported, monotonic now)
{
    const auto troubled = live.troubled.find(shown.destination);
    if (troubled == live.troubled.end()) return false;
    const trouble& trouble = troubled->second;
    const wish* const row = find_wish(desk.house, trouble.id);
    return row != nullptr && row->end != outcome::not_sent && row->wished.source == shown.source &&
           now <= trouble.late_until && reported.last >= trouble.from &&
           (!trouble.shown || reported.first <= trouble.from);
}

// Not so when it may be the doing of a wish that has ended.
void note_outside_change(desk_state& desk, const moment& now, const live_router& live,
                         const route& shown, const reported_run& reported, int last,
                         const std::vector<int>& unshown)
{
    if (last == UNKNOWN_SOURCE || last == shown.source ||
        std::find(unshown.begin(), unshown.end(), shown.source) != unshown.end() ||
        may_be_troubled_take(desk, live, shown, reported, now.steady))
        return;
    record_entry(desk,
                 {now.utc, "", "",
                  outside_change{shown.router, shown.destination, shown.source, last,
                                 live.facts[static_cast<std::size_t>(shown.destination)].changed}});
}

void forget_author(desk_state& desk, const moment& now, const route& shown)
{
    if (find_author(desk.house, shown.router, shown.destination) != nullptr)
        record_entry(desk, {now.utc, "", "", author_forgotten{shown.router, shown.destination}});
}

// It was there before, and something else meanwhile, of which nothing was reported: who has brought
// it back, and when, is not known.
bool has_returned(const live_router& live, const moment& now, const fact& before, int last,
                  const route& shown)
{
    const bool doubted = before.source != UNKNOWN_SOURCE && before.connection == 0;
    return last == shown.source &&
           (doubted || has_come_back(live, now, shown.destination, shown.source));
}

// When the source that is shown now was heard first, as the last fact and its author tell.
std::optional<wall> changed_at(const fact& before, const authorship& author, const route& shown,
                               wall now)
{
    const int last = last_source(before, author);
    if (last == UNKNOWN_SOURCE) return std::nullopt;
    if (last != shown.source) return now;
    return before.source != UNKNOWN_SOURCE ? before.changed : author.since;
}

// The order matters: what has been shown before is looked at before the report takes it away, the
// fact is there when its wishes end, and its author is judged when all have had their part.
void report_route(desk_state& desk, const moment& now, live_router& live, const route& shown)
{
    const auto position = static_cast<std::size_t>(shown.destination);
    if (position >= live.facts.size()) live.facts.resize(position + 1);
    fact& fact = live.facts[position];
    const desk::fact before = fact;
    const authorship author = last_author(desk, shown);
    const int last = last_source(before, author);
    const bool returned = has_returned(live, now, before, last, shown);
    const reported_run reported = take_reported(live, now, shown);
    const std::vector<int> unshown = unshown_takes(live, now, shown.destination);
    const bool returns = has_come_back(live, now, shown.destination, shown.source);
    if (returned) forget_author(desk, now, shown);
    fact = {shown.source, now, live.connection, changed_at(before, author, shown, now.utc)};
    if (returned || returns) fact.changed.reset();
    const bool changed = shown_before(live, before) != shown.source;
    if (changed) tell_change(desk, shown.router, change::kind::fact, shown.destination);
    note_reported(live, shown.destination, shown.source, reported.told);
    const bool confirms =
        confirm_wishes(desk, now, shown.router, shown.destination, reported.last, shown.source);
    const bool in_doubt = !confirms && (reported.may_be_older || is_doubtful(before, now));
    if (in_doubt && last != shown.source) fact.changed.reset();
    fact.may_be_older =
        in_doubt && reported.may_be_older && (before.may_be_older || before.source != shown.source);
    if (confirms || !may_be_taken(live, shown.destination, shown.source)) {
        const bool late = confirm_late(desk, now, live, shown, reported, before);
        if (!confirms && !late && !in_doubt)
            note_outside_change(desk, now, live, shown, reported, last, unshown);
    }
    forget_unshown(live, shown.destination, live.connection, shown.source);
    end_passed_wishes(desk, now, live, shown.destination, reported);
    note_found(desk, now, live, shown);
    if (returns || author_shown(desk, shown.router, shown.destination) == nullptr)
        forget_author(desk, now, shown);
    if (!changed && last_author(desk, shown) != author)
        tell_change(desk, shown.router, change::kind::fact, shown.destination);
}

// The router has shown no source since it said this, for all that the traffic tells.
bool is_overtaken(const live_router& live, int destination, int source)
{
    if (!live.disconnected.contains(destination)) return false;
    const auto unreported = live.unreported.find(destination);
    return unreported == live.unreported.end() ||
           std::none_of(unreported->second.begin(), unreported->second.end(),
                        [&](const showing& one) { return one.source == source; });
}
} // namespace

void report_link(desk_state& desk, const moment& now, const std::string& router, link_state link,
                 const std::string& reason_given)
{
    live_router* live = find_live(desk, router);
    const std::string why = link == link_state::ready ? "" : cut_text(reason_given);
    if (live == nullptr || live->moved || (live->link == link && live->link_reason == why)) return;
    const link_state before = live->link;
    live->link = link;
    live->link_reason = why;
    if (link != before) {
        live->link_since = now.utc;
        if (before == link_state::ready) count_link_loss(live->statistics, now.utc);
        if (before == link_state::ready) live->link_lost = now.utc;
        const bool goes_on = before == link_state::reading && link == link_state::ready;
        if (!goes_on) forget_traffic(*live);
        if (!goes_on && (link == link_state::reading || link == link_state::ready)) {
            ++live->connection;
            live->disconnected.clear();
            live->unreported.clear();
        }
    }
    tell_change(desk, router, change::kind::link);
    if (link != link_state::ready && holds_queued(*live))
        end_backend(desk, now, router, reason::link_lost);
}

void report_counts(desk_state& desk, const std::string& router, int inputs, int outputs)
{
    live_router* live = find_live(desk, router);
    inputs = std::clamp(inputs, 0, ROUTED_POSITIONS);
    outputs = std::clamp(outputs, 0, ROUTED_POSITIONS);
    if (live == nullptr || live->moved || (live->inputs == inputs && live->outputs == outputs))
        return;
    live->inputs = inputs;
    live->outputs = outputs;
    live->facts.resize(std::max(live->facts.size(), static_cast<std::size_t>(outputs)));
    tell_change(desk, router, change::kind::settings);
}

void report_names(desk_state& desk, const std::string& router, side side,
                  std::vector<std::string> names)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr || live->moved) return;
    names.resize(std::min(names.size(), static_cast<std::size_t>(POSITIONS)));
    for (std::string& name : names)
        name = cut_text(name);
    auto& known = side == side::sources ? live->source_names : live->destination_names;
    if (known == names) return;
    known = std::move(names);
    tell_change(desk, router, change::kind::names);
}

void report_routes(desk_state& desk, const moment& now, const std::string& router,
                   std::span<const std::pair<int, int>> routes)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr || live->moved) return;
    for (const auto& [destination, source] : routes) {
        if (destination < 0 || destination >= ROUTED_POSITIONS || source < NO_SOURCE ||
            source >= POSITIONS || is_overtaken(*live, destination, source))
            continue;
        live->disconnected.erase(destination);
        report_route(desk, now, *live, {router, destination, source});
    }
}

void doubt_fact(desk_state& desk, const std::string& router, int destination)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr || !is_fresh(*live, destination)) return;
    live->facts[static_cast<std::size_t>(destination)].connection = 0;
    tell_change(desk, router, change::kind::fact, destination);
}

namespace {
void forget_names(desk_state& desk, const std::string& router)
{
    report_counts(desk, router, 0, 0);
    for (const side side : {side::sources, side::destinations})
        report_names(desk, router, side, {});
}
} // namespace

void forget_reports(desk_state& desk, const moment& now, const std::string& router)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr) return;
    for (std::size_t i = 0; i < live->facts.size(); ++i)
        if (std::exchange(live->facts[i], {}).source != UNKNOWN_SOURCE)
            tell_change(desk, router, change::kind::fact, static_cast<int>(i));
    if (live->ending == reason::none) return forget_names(desk, router);
    report_link(desk, now, router, link_state::connecting, "the router was given another address");
    live->moved = true;
}

void report_backend_ended(desk_state& desk, const moment& now, const std::string& router,
                          bool heard_all)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr) return;
    const bool link_lost = live->ending == reason::link_lost;
    live->ending = reason::none;
    live->unreported.clear();
    const bool moved = std::exchange(live->moved, false);
    if (moved) {
        forget_names(desk, router); // by now what ended with the move has been told
        end_sent_elsewhere(desk, now, router);
    }
    std::deque<wish_id> unsent; // of each destination the newest first: none is released any more
    for (const auto& [destination, open] : live->open)
        for (const open_wish& wish : open)
            if (wish.state != wish_state::sent) unsent.push_front(wish.id);
    for (const wish_id& id : unsent) {
        const open_wish& wish = *find_open(desk, id);
        const bool late = now.steady - wish.begun.steady >= SEND_LIMIT;
        const bool maybe_sent = !heard_all && wish.state == wish_state::queued;
        if (maybe_sent && moved)
            end_elsewhere(desk, now, id);
        else if (maybe_sent)
            end_maybe_sent(desk, now, id);
        else
            end_unsent(desk, now, id,
                       link_lost ? reason::link_lost
                       : late    ? reason::not_sent_in_time
                                 : reason::backend_ended);
    }
}

} // namespace desk
