#include "server/desk/house.h"

namespace desk {

namespace {
const label NO_LABEL;
} // namespace

const wish* find_wish(const house& house, const wish_id& id)
{
    const auto batch = house.batches.find(id.batch);
    if (batch == house.batches.end() || id.row >= batch->second.rows.size()) return nullptr;
    return &batch->second.rows[id.row];
}

bool was_accepted(const wish& wish)
{
    return wish.end != outcome::not_sent || wish.why == reason::link_lost ||
           wish.why == reason::not_sent_in_time || wish.why == reason::backend_ended;
}

bool is_trouble(const wish& wish)
{
    switch (wish.end) {
    case outcome::open:
    case outcome::confirmed:
    case outcome::superseded:
        return false;
    case outcome::contradicted:
    case outcome::refused:
    case outcome::timed_out:
    case outcome::not_sent:
    case outcome::unknown:
        break;
    }
    return was_accepted(wish) && !wish.accepted && !wish.confirmed_late_after;
}

const label& label_of(const house_router& router, side side, int position)
{
    const auto& labels = side == side::sources ? router.source_labels : router.destination_labels;
    const auto label = labels.find(position);
    return label == labels.end() ? NO_LABEL : label->second;
}

} // namespace desk
