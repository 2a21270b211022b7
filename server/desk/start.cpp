#include "server/desk/start.h"

#include <algorithm>

#include "server/desk/steps.h"
#include "server/desk/unshown.h"
#include "server/desk/wishes.h"

namespace desk {

namespace {
void end_open_wishes(desk_state& desk, const moment& now)
{
    std::vector<wish_ended> ends;
    for (const auto& [id, batch] : desk.house.batches)
        for (std::uint32_t row = 0; row < batch.rows.size(); ++row)
            if (batch.rows[row].end == outcome::open) {
                wish_ended& end = ends.emplace_back();
                end.id = {id, row};
                end.detail = "the program was restarted";
                end.ended_after = std::max(wall{}, now.utc - batch.made);
                const route& wished = batch.rows[row].wished;
                const authorship* const author =
                    find_author(desk.house, wished.router, wished.destination);
                if (author != nullptr) end.was = author->source;
            }
    for (wish_ended& end : ends) {
        const route wished = find_wish(desk.house, end.id)->wished;
        // It may have been changed, and changed back, without anybody here knowing.
        if (find_author(desk.house, wished.router, wished.destination) != nullptr)
            record_entry(desk,
                         {now.utc, "", "", author_forgotten{wished.router, wished.destination}});
        record_entry(desk, {now.utc, "", "", std::move(end)});
    }
}

// One that went wrong may have been carried out since; shortly before the start, it still may be.
void note_may_come(live_router& live, const moment& now, const wish& wish, wall made)
{
    if (wish.end != outcome::timed_out && wish.end != outcome::contradicted &&
        wish.end != outcome::unknown)
        return;
    const wall ended = made + std::chrono::floor<wall>(wish.ended_after.value_or(monotonic{}));
    const wall left = std::min<wall>(ended + LATE_LIMIT - now.utc, LATE_LIMIT);
    if (!wish.confirmed_late_after)
        note_unshown(live, now, wish.wished.destination,
                     {wish.wished.source, 0, now.steady + left, now.steady});
}

// By the last accepted wish of each destination since its router was added; and those of which it
// is still to be told what the router shows.
void find_troubles(desk_state& desk, const moment& now)
{
    for (const auto& [id, batch] : desk.house.batches)
        for (std::uint32_t row = 0; row < batch.rows.size(); ++row) {
            const wish& wish = batch.rows[row];
            live_router* live = find_live(desk, wish.wished.router);
            if (live == nullptr || !was_accepted(wish)) continue;
            note_may_come(*live, now, wish, batch.made); // the address may be that of before again
            if (id <= find_router(desk, wish.wished.router)->added_after) continue;
            if (wish.end == outcome::unknown && !wish.found)
                live->ended_by_restart[wish.wished.destination].push_back({id, row});
            if (is_trouble(wish))
                live->troubled[wish.wished.destination].id = {id, row};
            else
                live->troubled.erase(wish.wished.destination);
        }
}
} // namespace

desk_state make_desk(std::uint64_t seed)
{
    desk_state desk;
    desk.ids.chance.seed(seed);
    return desk;
}

desk_state make_desk(std::uint64_t seed, house kept, const moment& now)
{
    desk_state desk = make_desk(seed);
    desk.house = std::move(kept);
    desk.ids.last = last_batch(desk.house); // the clock may have gone back
    for (const auto& [id, router] : desk.house.routers) {
        desk.live[id].link_since = now.utc;
        for (const auto& [destination, lock] : router.locks)
            if (lock.until) desk.lock_ends.insert({*lock.until, {id, destination}});
    }
    for (const auto& [id, deleted] : desk.house.deleted_salvos)
        desk.salvo_ends.insert({deleted.deleted + DELETED_AGE, id});
    end_open_wishes(desk, now);
    find_troubles(desk, now);
    return desk;
}

} // namespace desk
