#include "unit/desk/model_ledger.h"

#include <algorithm>

#include "server/desk/salvos.h"

using namespace desk;

namespace model {

namespace {
bool excludes(const lock& lock, const std::string& person)
{
    return lock.mode == lock_mode::lock || lock.owner != person;
}

bool puts_back(batch_kind kind)
{
    return kind == batch_kind::undo || kind == batch_kind::redo || kind == batch_kind::rollback;
}

// The row of the batch that is for this place.
std::optional<wish_id> row_for(const ledger& ledger, const ulid& id, const place& where)
{
    const auto batch = ledger.replayed.batches.find(id);
    if (batch == ledger.replayed.batches.end()) return std::nullopt;
    for (std::uint32_t i = 0; i < batch->second.rows.size(); ++i) {
        const route& wished = batch->second.rows[i].wished;
        if (place{wished.router, wished.destination} == where) return wish_id{id, i};
    }
    return std::nullopt;
}

// Which wish of the person the change has put back what was there before.
std::optional<wish_id> undone_by(const ledger& ledger, const change_seen& change,
                                 const place& where, const std::string& person)
{
    for (const wish_id& id : change.by) {
        const auto batch = ledger.replayed.batches.find(id.batch);
        if (batch == ledger.replayed.batches.end() || batch->second.person != person ||
            !puts_back(batch->second.kind))
            continue;
        if (const auto undone = row_for(ledger, batch->second.of, where)) return undone;
    }
    return std::nullopt;
}

// Takes changes of the person that have been undone off the end, together with their undoing, until
// the last one is the wish's. False when there is another change before.
bool unwind(const ledger& ledger, std::vector<change_seen>& changes, const place& where,
            const std::string& person, const wish_id& to)
{
    while (!changes.empty() && !changes.back().by.contains(to)) {
        const auto undone = undone_by(ledger, changes.back(), where, person);
        if (!undone) return false;
        changes.pop_back();
        if (!unwind(ledger, changes, where, person, *undone)) return false;
        changes.pop_back();
    }
    return !changes.empty();
}

// A row of a batch that puts something back: nobody else may have changed its place since.
void check_put_back(ledger& ledger, const batch& batch, const route& row)
{
    const auto of = ledger.replayed.batches.find(batch.of);
    if (of == ledger.replayed.batches.end()) return; // it has been forgotten
    if (batch.kind != batch_kind::rollback && of->second.person != batch.person)
        complain(ledger, "undo of somebody else's batch");
    const place where{row.router, row.destination};
    const std::optional<wish_id> by = row_for(ledger, batch.of, where);
    if (!by) return complain(ledger, "undo of a row that was not");
    const wish& undone = of->second.rows[by->row];
    const fact_seen& fact = ledger.facts[where];
    if (!fact.fresh) complain(ledger, "undo of what is not known");
    std::vector<change_seen> changes = fact.changes;
    if (fact.source != undone.wished.source ||
        !unwind(ledger, changes, where, of->second.person, *by))
        return complain(ledger, "undo of what somebody else has changed since");
    const int before = changes.back().before;
    if (undone.was != row.source || (before != UNKNOWN_SOURCE && before != row.source &&
                                     !ledger.wishes.at(*by).found.contains(row.source)))
        complain(ledger, "undo puts back what was not there");
    if (!ledger.open[where].empty()) complain(ledger, "undo of what somebody is changing");
}

void see_entry(ledger& ledger, const batch_made& made)
{
    if (made.batch.rows.empty()) complain(ledger, "batch without rows");
    for (const wish& wish : made.batch.rows) {
        const auto number = static_cast<std::uint32_t>(&wish - made.batch.rows.data());
        if (wish.end == outcome::open && puts_back(made.batch.kind))
            check_put_back(ledger, made.batch, wish.wished);
        const bool is_new =
            ledger.wishes
                .insert({{made.id, number}, {wish.wished, made.batch.person, wish.end, false}})
                .second;
        if (!is_new) complain(ledger, "batch made twice");
        const place where{wish.wished.router, wish.wished.destination};
        if (wish.end == outcome::open) ledger.open[where].insert({made.id, number});
        ledger.wishes.at({made.id, number}).in_disorder = ledger.facts[where].in_disorder;
        if (wish.end != outcome::open && !wish.unchanged) continue;
        ledger.newest[where] = {made.id, number};
        ledger.unanswered.erase(where);
    }
}

// Its router has said that it shows the source after it had served the take, or has shown what came
// from elsewhere since, which nobody can tell from that.
bool was_shown_since(const ledger& ledger, const wish_seen& wish)
{
    if (wish.in_disorder) return true;
    const fact_seen& fact = ledger.facts.at({wish.wished.router, wish.wished.destination});
    const int source = wish.wished.source;
    if ((wish.was == source || wish.follows_its_like) && fact.mistaken) return true;
    const bool was_there = wish.was == source && !wish.cut_off;
    const auto& confusing = was_there ? fact.unasked : fact.from_elsewhere;
    const auto last = confusing.find(source);
    if (last != confusing.end() && last->second > wish.heard) return true;
    const auto served = fact.served.find(source);
    return wish.served && served != fact.served.end() && served->second >= *wish.served;
}

void see_entry(ledger& ledger, const wish_ended& ended)
{
    const auto found = ledger.wishes.find(ended.id);
    if (found == ledger.wishes.end()) return complain(ledger, "end of an unknown wish");
    if (found->second.end != outcome::open) complain(ledger, "wish ended twice");
    if (ended.end == outcome::open) complain(ledger, "wish ended as open");
    if (was_never_sent(ended.end) && found->second.sent)
        complain(ledger, "end as not sent of a wish whose take was made");
    if (ended.end == outcome::confirmed && !was_shown_since(ledger, found->second))
        complain(ledger, "confirmed by what was shown before its take");
    found->second.end = ended.end;
    found->second.ended = ledger.at;
    const place where{found->second.wished.router, found->second.wished.destination};
    std::set<wish_id>& open = ledger.open[where];
    open.erase(ended.id);
    const bool answered = ended.end != outcome::timed_out && ended.end != outcome::contradicted &&
                          ended.end != outcome::unknown;
    if (!answered && (open.empty() || ledger.newest[where] == ended.id))
        ledger.unanswered[where].insert(ended.id);
}

// What its take has put there was reported, and stands.
void check_time_out(ledger& ledger, const desk_state& desk, const wish_id& id)
{
    const auto found = ledger.wishes.find(id);
    if (found == ledger.wishes.end() || !found->second.sent || found->second.in_disorder ||
        found->second.cut_off)
        return;
    const wish_seen& wish = found->second;
    const fact_seen& fact = ledger.facts[{wish.wished.router, wish.wished.destination}];
    const live_router* const live = find_live(desk, wish.wished.router);
    if (live == nullptr || !is_fresh(*live, wish.wished.destination) || fact.mistaken) return;
    if (fact.source == wish.wished.source && wish.served && fact.reported >= *wish.served)
        complain(ledger, "timed out, though its source was reported after its take");
}

void see_entry(ledger& ledger, const confirmed_late& late)
{
    const auto found = ledger.wishes.find(late.id);
    if (found == ledger.wishes.end()) return complain(ledger, "late end of an unknown wish");
    const outcome end = found->second.end;
    if (end != outcome::timed_out && end != outcome::contradicted && end != outcome::unknown)
        complain(ledger, "confirmed late, though it had ended for good");
    if (end != outcome::unknown && found->second.outlasted)
        complain(ledger, "confirmed late, though it had ended before a restart");
    const bool is_known =
        end != outcome::unknown && !found->second.maybe_sent && found->second.was != UNKNOWN_SOURCE;
    if (is_known && !was_shown_since(ledger, found->second))
        complain(ledger, "confirmed late by what was shown before its take");
}

void see_entry(ledger& ledger, const outside_change& change)
{
    const fact_seen& fact = ledger.facts[{change.router, change.destination}];
    if (fact.reported_last.from_outside || fact.was_mistaken) return;
    for (const wish_id& id : fact.reported_last.by) {
        const wish_seen& wish = ledger.wishes.at(id);
        if (wish.end == outcome::open || ledger.at <= wish.ended + LATE_LIMIT)
            complain(ledger, "taken by somebody else, though a wish's take has brought it");
    }
}

void see_entry(ledger& ledger, const lock_set& set)
{
    ledger.locks[{set.router, set.destination}] = set.lock;
}

void see_entry(ledger& ledger, const lock_removed& removed)
{
    if (removed.how != lock_end::expired) ledger.locks.erase({removed.router, removed.destination});
}

template <typename Entry>
void see_entry(ledger&, const Entry&)
{
}

// The oldest open wish for the row that has not been ordered; it is from now on.
std::optional<wish_id> ordered_wish(ledger& ledger, const std::string& router,
                                    const std::pair<int, int>& row)
{
    for (const wish_id& id : ledger.open[{router, row.first}]) {
        wish_seen& wish = ledger.wishes.at(id);
        if (wish.ordered || wish.wished.source != row.second) continue;
        wish.ordered = true;
        return id;
    }
    return std::nullopt;
}

void see_order(ledger& ledger, const desk_state& desk, const order& order, orders_seen& seen)
{
    if (order.what == order::kind::end_backend) {
        seen.ends.insert(order.router);
        return;
    }
    const live_router* const live = find_live(desk, order.router);
    if (live == nullptr || live->link != link_state::ready || live->ending != reason::none)
        complain(ledger, "order to a router that is not ready");
    if (order.rows.empty()) complain(ledger, "order without rows");
    for (const auto& row : order.rows) {
        const std::optional<wish_id> id = ordered_wish(ledger, order.router, row);
        if (!id) return complain(ledger, "order without an open wish");
        const auto lock = ledger.locks.find({order.router, row.first});
        if (lock != ledger.locks.end() && excludes(lock->second, ledger.wishes.at(*id).person))
            complain(ledger, "order to a destination that is locked");
        seen.takes.push_back({order.router, {row.first, row.second, *id}});
    }
}

void see_change(ledger& ledger, const change& change)
{
    if (change.what == change::kind::batch || change.what == change::kind::notice) {
        if (change.revision != 0) complain(ledger, "batch or notice with a revision");
        return;
    }
    const std::uint64_t first = change.router.empty() ? 0 : ledger.removed_revision;
    if (change.revision != ++ledger.revisions.try_emplace(change.router, first).first->second)
        complain(ledger, "revision with a gap");
    if (change.what != change::kind::removed) return;
    ledger.removed_revision = std::max(ledger.removed_revision, change.revision);
    ledger.revisions.erase(change.router);
}

std::size_t mix(std::size_t sum, std::size_t value)
{
    return (sum ^ value) * 0x100000001b3;
}

// Of what anyone can see of a router.
std::size_t sum_of(const live_router& live, const house_router& house)
{
    std::size_t sum = mix(static_cast<std::size_t>(live.link), live.facts.size());
    for (std::size_t i = 0; i < live.facts.size(); ++i) {
        sum = mix(sum, static_cast<std::size_t>(live.facts[i].source));
        sum = mix(sum, is_fresh(live, static_cast<int>(i)) ? 1 : 2);
    }
    for (const auto& [destination, wishes] : live.open)
        for (const open_wish& wish : wishes)
            sum = mix(mix(sum, wish.id.batch.low + wish.id.row),
                      static_cast<std::size_t>(wish.state));
    for (const auto& [destination, trouble] : live.troubled)
        sum = mix(mix(sum, static_cast<std::size_t>(destination)), trouble.id.batch.low);
    for (const auto& [destination, lock] : house.locks)
        sum = mix(mix(sum, static_cast<std::size_t>(destination)),
                  static_cast<std::size_t>(lock.since.count()));
    sum = mix(sum, live.source_names.size());
    sum = mix(sum, std::hash<std::string>()(house.settings.name));
    return sum;
}

void check_author(ledger& ledger, const authorship& author, const fact_seen& fact)
{
    if (author.since && *author.since != fact.changed && !fact.outlasted)
        complain(ledger, "author of something else");
    if (author.by && ledger.wishes.at(*author.by).person != author.person)
        complain(ledger, "fact by somebody else");
    if (author.by && !fact.outlasted && !fact.changes.back().by.contains(*author.by))
        complain(ledger, "fact by a wish that had no part in it");
}

void check_facts(ledger& ledger, const desk_state& desk, const std::string& router,
                 const live_router& live)
{
    for (std::size_t i = 0; i < live.facts.size(); ++i) {
        const auto destination = static_cast<int>(i);
        const fact_seen& fact = ledger.facts[{router, destination}];
        if (live.facts[i].source != fact.source) complain(ledger, "fact without a report");
        if (is_fresh(live, destination) != (fact.fresh && live.link == link_state::ready))
            complain(ledger, "fact fresh or stale against the reports");
        if (live.facts[i].changed && *live.facts[i].changed != fact.changed && !fact.outlasted)
            complain(ledger, "fact that has changed at another time");
        if (const authorship* const author = author_shown(desk, router, destination))
            check_author(ledger, *author, fact);
    }
}

void check_wishes(ledger& ledger, const std::string& router, const live_router& live)
{
    for (const auto& [destination, wishes] : live.open) {
        if (wishes.empty() || wishes.size() > OPEN_PER_DESTINATION)
            complain(ledger, "none or too many wishes open on a destination");
        if (wishes.size() != ledger.open[{router, destination}].size())
            complain(ledger, "open wishes that the entries do not know, or the other way round");
        for (const open_wish& wish : wishes)
            if (ledger.wishes.at(wish.id).ordered != (wish.state != wish_state::held))
                complain(ledger, "wish held though ordered, or the other way round");
    }
    for (const auto& [destination, queries] : live.queries_under_way)
        if (queries.under_way == 0 || queries.under_way > QUERIES_UNDER_WAY)
            complain(ledger, "none or too many queries");
    if (live.takes_unanswered.size() > TAKES_UNANSWERED) complain(ledger, "too many takes");
}

void check_router(ledger& ledger, const desk_state& desk, const std::string& router)
{
    const live_router& live = *find_live(desk, router);
    const house_router* const house = find_router(desk, router);
    if (house == nullptr) return complain(ledger, "router that the house does not have");
    check_facts(ledger, desk, router, live);
    check_wishes(ledger, router, live);
    if (live.revision != ledger.revisions[router]) complain(ledger, "revision without a change");
    const std::pair<std::size_t, std::uint64_t> now{sum_of(live, *house), live.revision};
    const auto before = ledger.seen.insert({router, now}).first;
    if (before->second.first != now.first && before->second.second == now.second)
        complain(ledger, "visible change without a revision");
    before->second = now;
}

void check_salvos(ledger& ledger, const desk_state& desk)
{
    for (const auto& [id, salvo] : desk.house.salvos)
        if (find_salvo(desk.house, salvo.name) != id) complain(ledger, "two salvos of one name");
    if (desk.salvo_ends.size() != desk.house.deleted_salvos.size())
        complain(ledger, "deleted salvo that is kept for ever");
    for (const auto& [end, id] : desk.salvo_ends)
        if (desk.house.deleted_salvos.at(id).deleted + DELETED_AGE != end)
            complain(ledger, "deleted salvo with another end");
}

void check_house(ledger& ledger, const desk_state& desk)
{
    if (desk.revision != ledger.revisions[""]) complain(ledger, "house revision without a change");
    std::size_t locks = 0;
    for (const auto& [router, known] : desk.house.routers) {
        if (find_live(desk, router) == nullptr) complain(ledger, "router that is not live");
        locks += known.locks.size();
        for (const auto& [destination, lock] : known.locks) {
            const auto seen = ledger.locks.find({router, destination});
            if (seen == ledger.locks.end() || seen->second != lock)
                complain(ledger, "lock without an entry, or kept beyond its end");
        }
    }
    if (locks != ledger.locks.size()) complain(ledger, "lock lost");
    check_salvos(ledger, desk);
    if (desk.house.batches.size() > BATCHES_KEPT) complain(ledger, "too many batches");
    for (const auto& [person, record] : desk.house.undo)
        if (record.undo.size() > UNDO_STEPS || record.redo.size() > UNDO_STEPS)
            complain(ledger, "too many steps to undo");
}
} // namespace

bool was_never_sent(outcome end)
{
    return end == outcome::not_sent || end == outcome::superseded;
}

orders_seen settle(ledger& ledger, desk_state& desk)
{
    orders_seen seen;
    for (const entry& entry : desk.entries) {
        ledger.at = entry.at;
        std::visit([&](const auto& what) { see_entry(ledger, what); }, entry.what);
        const auto* const ended = std::get_if<wish_ended>(&entry.what);
        if (ended != nullptr && ended->end == outcome::timed_out)
            check_time_out(ledger, desk, ended->id);
        apply_entry(ledger.replayed, entry);
        if (ledger.keeps_entries) ledger.entries.push_back(entry);
    }
    for (const order& order : desk.orders)
        see_order(ledger, desk, order, seen);
    for (const change& change : desk.changes)
        see_change(ledger, change);
    desk.entries.clear();
    desk.orders.clear();
    desk.changes.clear();
    for (const auto& [router, live] : desk.live)
        check_router(ledger, desk, router);
    check_house(ledger, desk);
    return seen;
}

} // namespace model
