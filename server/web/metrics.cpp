#include "server/web/metrics.h"

#include <variant>

namespace web {

namespace {
// "api", "panel", a gateway without its client's address: no label may have a value for each
// client.
std::string origin_of(const desk::batch& batch)
{
    return batch.origin.substr(0, batch.origin.find(' '));
}

// Of a router that there is: other names are whatever somebody asked for.
void count_wish(metrics_counters& counters, const desk::house& house, const desk::batch& batch,
                const desk::wish& wish, desk::outcome end)
{
    if (house.routers.contains(wish.wished.router))
        ++counters.routers[wish.wished.router].wishes[{origin_of(batch), end}];
}

void count_end(metrics_counters& counters, const desk::house& house, const desk::wish_ended& ended)
{
    const auto batch = house.batches.find(ended.id.batch);
    if (batch == house.batches.end()) return;
    const desk::wish& wish = batch->second.rows.at(ended.id.row);
    count_wish(counters, house, batch->second, wish, ended.end);
    if (ended.end == desk::outcome::confirmed && house.routers.contains(wish.wished.router))
        observe(counters.routers[wish.wished.router].confirm, CONFIRM_BOUNDS, ended.ended_after);
}
} // namespace

void count_entries(metrics_counters& counters, const desk::house& house,
                   std::span<const desk::entry> entries)
{
    for (const desk::entry& entry : entries) {
        if (const auto* removed = std::get_if<desk::router_removed>(&entry.what)) {
            counters.routers.erase(removed->router);
        } else if (const auto* made = std::get_if<desk::batch_made>(&entry.what)) {
            for (const desk::wish& wish : made->batch.rows) // those not to be sent have ended
                if (wish.end != desk::outcome::open)
                    count_wish(counters, house, made->batch, wish, wish.end);
        } else if (const auto* ended = std::get_if<desk::wish_ended>(&entry.what)) {
            count_end(counters, house, *ended);
        } else if (const auto* outside = std::get_if<desk::outside_change>(&entry.what)) {
            if (house.routers.contains(outside->router))
                ++counters.routers[outside->router].outside_changes;
        }
    }
}

} // namespace web
