#include "server/desk/deadlines.h"

#include <algorithm>

#include "server/desk/showings.h"
#include "server/desk/steps.h"
#include "server/desk/wishes.h"

namespace desk {

namespace {
// Its source was reported after it had been shown, though of a like take before it, for all that is
// known: a backend that reports both as one reports no more while nothing changes.
bool stands_reported(const live_router& live, const moment& now, int destination,
                     const open_wish& wish)
{
    return wish.reported && is_fresh(live, destination) &&
           source_shown(live, destination) == wish.source &&
           source_told(live, now, destination) == wish.source;
}

void end_late_wish(desk_state& desk, const moment& now, const wish_id& id)
{
    const open_wish& wish = *find_open(desk, id);
    const route wished = find_wish(desk.house, id)->wished;
    const int gone_to = wish.gone_to.source;
    if (gone_to != UNKNOWN_SOURCE) return end_contradicted(desk, now, id, gone_to);
    if (wish.state != wish_state::sent) {
        desk.deadlines.erase({wish.deadline, id}); // it ends when the backend has
        return end_backend(desk, now, wished.router, reason::not_sent_in_time);
    }
    if (!wish.refusal.empty()) // it may have been of something else
        return end_wish(desk, now, id, outcome::refused,
                        wish.refusal + "; nothing has confirmed that");
    if (!stands_reported(*find_live(desk, wished.router), now, wished.destination, wish))
        return end_wish(desk, now, id, outcome::timed_out, "");
    end_wish(desk, now, id, outcome::confirmed, "");
    tell_change(desk, wished.router, change::kind::fact, wished.destination); // whose doing it is
}

void end_lock(desk_state& desk, const moment& now, const std::string& router, int destination)
{
    const std::string owner = find_router(desk, router)->locks.at(destination).owner;
    record_entry(
        desk, {now.utc, "", "", lock_removed{router, destination, lock_end::expired, owner, ""}});
    tell_change(desk, router, change::kind::lock, destination);
}

// When the wall clock will show this.
monotonic steady_at(const moment& now, wall utc)
{
    return now.steady + (utc - now.utc);
}
} // namespace

std::optional<monotonic> next_due(const desk_state& desk, const moment& now)
{
    auto due = monotonic::max();
    if (!desk.deadlines.empty()) due = desk.deadlines.begin()->first;
    if (!desk.lock_ends.empty()) due = std::min(due, steady_at(now, desk.lock_ends.begin()->first));
    if (!desk.salvo_ends.empty())
        due = std::min(due, steady_at(now, desk.salvo_ends.begin()->first));
    return due == monotonic::max() ? std::nullopt : std::optional(due);
}

void advance(desk_state& desk, const moment& now)
{
    while (!desk.deadlines.empty() && desk.deadlines.begin()->first <= now.steady) {
        const wish_id id = desk.deadlines.begin()->second;
        end_late_wish(desk, now, id);
    }
    while (!desk.lock_ends.empty() && desk.lock_ends.begin()->first <= now.utc) {
        const auto [router, destination] = desk.lock_ends.begin()->second;
        end_lock(desk, now, router, destination);
    }
    while (!desk.salvo_ends.empty() && desk.salvo_ends.begin()->first <= now.utc)
        forget_salvo(desk, now, ulid(desk.salvo_ends.begin()->second));
}

} // namespace desk
