// What a ledger is told beside what the desk says.
#include <algorithm>

#include "unit/desk/model_ledger.h"

using namespace desk;

namespace model {

namespace {
// Nobody can tell whether a wish had a part in it that its source is shown when its take has been
// sent and has had no answer.
void add_possible_authors(ledger& ledger, const place& where, fact_seen& fact)
{
    const auto may_be = [&](const wish_id& id) {
        const wish_seen& wish = ledger.wishes.at(id);
        const bool may_have = wish.sent || wish.maybe_sent || wish.end == outcome::unknown;
        if (may_have && wish.wished.source == fact.source) fact.changes.back().by.insert(id);
    };
    for (const wish_id& id : ledger.open[where])
        may_be(id);
    for (const wish_id& id : ledger.unanswered[where])
        may_be(id);
}

// What somebody else put there, or a wish that had ended otherwise.
bool is_from_elsewhere(const ledger& ledger, const std::set<wish_id>& by)
{
    return by.empty() || std::any_of(by.begin(), by.end(), [&](const wish_id& id) {
               const outcome end = ledger.wishes.at(id).end;
               return end != outcome::open && end != outcome::confirmed;
           });
}
} // namespace

void see_disorder(ledger& ledger, const place& where)
{
    ledger.facts[where].in_disorder = true;
    for (const wish_id& id : ledger.open[where])
        ledger.wishes.at(id).in_disorder = true;
}

void see_showing(ledger& ledger, const std::string& router, const reply& one, bool awaited)
{
    if (one.what != reply::kind::route) return;
    fact_seen& fact = ledger.facts[{router, one.destination}];
    fact.told = one.now.source;
    for (const wish_id& id : ledger.open[{router, one.destination}])
        if (wish_seen& wish = ledger.wishes.at(id); wish.sent) wish.found.insert(fact.told);
    std::uint64_t& served = fact.served[one.now.source];
    served = std::max(served, one.served);
    ++ledger.heard;
    if (is_from_elsewhere(ledger, one.now.by)) fact.from_elsewhere[one.now.source] = ledger.heard;
    if (!one.asked) fact.unasked[one.now.source] = ledger.heard;
    if (!one.asked && awaited) fact.mistaken = fact.was_mistaken = true;
}

void see_report(ledger& ledger, const moment& now, const std::string& router,
                const std::vector<reply>& said)
{
    for (const reply& one : said) {
        const place where{router, one.destination};
        fact_seen& fact = ledger.facts[where];
        if (fact.last != one.now.source || one.comes_back) {
            const bool is_known = fact.fresh && fact.last != one.now.source;
            const int before = is_known ? fact.last : UNKNOWN_SOURCE;
            fact.changes.push_back({before, {}});
            fact.changed = now.utc;
            // The first one after a restart: what was shown last before may not have been kept.
            fact.outlasted = false;
        }
        fact.source = fact.last = one.now.source;
        fact.fresh = true;
        fact.reported = one.served;
        fact.reported_last = one.now;
        std::set<wish_id>& by = fact.changes.back().by;
        by.insert(one.now.by.begin(), one.now.by.end());
        add_possible_authors(ledger, where, fact);
    }
}

void see_connection(ledger& ledger, const std::string& router, std::uint64_t served)
{
    for (auto& [where, open] : ledger.open)
        for (const wish_id& id : open)
            if (wish_seen& wish = ledger.wishes.at(id); where.first == router && wish.sent) {
                wish.cut_off = true;
                wish.served = wish.served.value_or(served);
            }
    for (const auto& [where, id] : ledger.newest) // which may be confirmed late
        if (where.first == router) ledger.wishes.at(id).cut_off = true;
    for (auto& [where, fact] : ledger.facts)
        if (where.first == router) fact.fresh = fact.in_disorder = fact.mistaken = false;
}

void see_restart(ledger& ledger)
{
    for (auto& [where, fact] : ledger.facts) {
        fact.fresh = false;
        fact.source = UNKNOWN_SOURCE;
        fact.outlasted = true;
    }
    for (auto& [id, wish] : ledger.wishes)
        wish.outlasted = wish.end != outcome::open;
    ledger.revisions.clear();
    ledger.removed_revision = 0;
    ledger.seen.clear();
}

void see_removal(ledger& ledger, const std::string& router)
{
    const auto of_router = [&](const auto& one) {
        return one.first.first == router;
    };
    std::erase_if(ledger.facts, of_router);
    std::erase_if(ledger.locks, of_router);
    ledger.seen.erase(router);
}

void see_move(ledger& ledger, const std::string& router)
{
    for (auto& [where, fact] : ledger.facts) {
        if (where.first != router) continue;
        fact.source = fact.last = UNKNOWN_SOURCE;
        fact.fresh = false;
        fact.changes = {{}};
    }
}

void see_loss(ledger& ledger, const std::string& router)
{
    for (auto& [id, wish] : ledger.wishes)
        if (wish.wished.router == router && wish.end == outcome::open && wish.ordered)
            wish.maybe_sent = true;
}

void see_time(ledger& ledger, const moment& now)
{
    std::erase_if(ledger.locks, [&](const auto& one) {
        return one.second.until && *one.second.until <= now.utc;
    });
}

void see_take(ledger& ledger, const sending& sent)
{
    wish_seen& wish = ledger.wishes.at(sent.by);
    wish.sent = true;
    const fact_seen& fact = ledger.facts[{wish.wished.router, wish.wished.destination}];
    if (fact.fresh) wish.was = fact.source == wish.wished.source ? fact.told : fact.source;
    wish.found.insert(fact.told);
    for (const wish_id& id : ledger.open[{wish.wished.router, wish.wished.destination}]) {
        const wish_seen& other = ledger.wishes.at(id);
        if (id == sent.by || !other.sent) continue;
        // One that is never reported counts as not made.
        wish.found.insert(other.found.begin(), other.found.end());
        const bool is_like = other.wished == wish.wished;
        wish.follows_its_like = wish.follows_its_like || is_like;
    }
    wish.heard = ledger.heard;
    if (wish.end != outcome::open && wish.end != outcome::unknown)
        complain(ledger, "take of a wish that had ended");
}

void see_service(ledger& ledger, const service& done, std::uint64_t number)
{
    ledger.wishes.at(done.taken).served = number;
    ledger.wishes.at(done.taken).found.insert(done.before);
}

void complain(ledger& ledger, const std::string& rule)
{
    if (ledger.wrong.empty()) ledger.wrong = rule;
}

} // namespace model
