#include "server/desk/start.h"

#include <algorithm>

#include "server/desk/steps.h"

namespace desk {

namespace {
void end_open_wishes(desk_state& desk, const moment& now)
{
    std::vector<std::pair<wish_id, monotonic>> open;
    for (const auto& [id, batch] : desk.house.batches)
        for (std::uint32_t row = 0; row < batch.rows.size(); ++row)
            if (batch.rows[row].end == outcome::open)
                open.emplace_back(wish_id{id, row}, std::max(wall{}, now.utc - batch.made));
    for (const auto& [id, age] : open)
        record_entry(desk, {now.utc, "", "",
                            wish_ended{id, outcome::unknown, reason::none,
                                       "the server was restarted", std::nullopt, age}});
}

// By the last accepted wish of each destination.
void find_troubles(desk_state& desk)
{
    for (const auto& [id, batch] : desk.house.batches)
        for (std::uint32_t row = 0; row < batch.rows.size(); ++row) {
            const wish& wish = batch.rows[row];
            live_router* live = find_live(desk, wish.wished.router);
            if (live == nullptr || !was_accepted(wish)) continue;
            if (is_trouble(wish))
                live->troubled[wish.wished.destination] = {id, row};
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
    for (const auto& [id, router] : desk.house.routers) {
        desk.live[id].link_since = now.utc;
        for (const auto& [destination, lock] : router.locks)
            if (lock.until) desk.lock_ends.insert({*lock.until, {id, destination}});
    }
    end_open_wishes(desk, now);
    find_troubles(desk);
    return desk;
}

} // namespace desk
