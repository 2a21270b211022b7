#include "server/desk/house.h"

namespace desk {

namespace {
const label NO_LABEL;

const batch* find_batch(const house& house, const ulid& id)
{
    const auto found = house.batches.find(id);
    return found == house.batches.end() ? nullptr : &found->second;
}

// The wish for the same destination in the batch that this one's batch undoes.
std::optional<wish_id> row_undone(const house& house, const wish_id& id)
{
    const batch* const batch = find_batch(house, id.batch);
    if (batch == nullptr || (batch->kind != batch_kind::undo && batch->kind != batch_kind::redo &&
                             batch->kind != batch_kind::rollback))
        return std::nullopt;
    const desk::batch* const of = find_batch(house, batch->of);
    if (of == nullptr) return std::nullopt;
    const route& wished = batch->rows[id.row].wished;
    for (std::uint32_t row = 0; row < of->rows.size(); ++row)
        if (of->rows[row].wished.router == wished.router &&
            of->rows[row].wished.destination == wished.destination)
            return wish_id{batch->of, row};
    return std::nullopt;
}
} // namespace

ulid last_batch(const house& house)
{
    return house.batches.empty() ? ulid{} : house.batches.rbegin()->first;
}

const authorship* find_author(const house& house, const std::string& router, int destination)
{
    const auto known = house.routers.find(router);
    if (known == house.routers.end()) return nullptr;
    const auto author = known->second.authors.find(destination);
    return author == known->second.authors.end() ? nullptr : &author->second;
}

const wish* find_wish(const house& house, const wish_id& id)
{
    const batch* const batch = find_batch(house, id.batch);
    if (batch == nullptr || id.row >= batch->rows.size()) return nullptr;
    return &batch->rows[id.row];
}

wish_id doing_of(const house& house, const wish_id& id)
{
    const wish* const row = find_wish(house, id);
    return row == nullptr ? id : row->doings.restored.value_or(id);
}

bool same_person(const house& house, const wish_id& one, const wish_id& other)
{
    const batch* const first = find_batch(house, one.batch);
    const batch* const second = find_batch(house, other.batch);
    return first != nullptr && second != nullptr && first->person == second->person;
}

doings doings_of(const house& house, const wish_id& id, int was)
{
    const wish* const row = find_wish(house, id);
    const auto router =
        row == nullptr ? house.routers.end() : house.routers.find(row->wished.router);
    if (router == house.routers.end()) return {};
    const auto author = router->second.authors.find(row->wished.destination);
    if (author == router->second.authors.end() || !author->second.by ||
        author->second.source != was || !same_person(house, *author->second.by, id))
        return {};
    doings doings{doing_of(house, *author->second.by), std::nullopt};
    if (was == row->wished.source) doings.restored = doings.replaced; // it has changed nothing
    const std::optional<wish_id> undone = row_undone(house, id);
    if (undone && doing_of(house, *undone) == doings.replaced)
        doings.restored = find_wish(house, *undone)->doings.replaced;
    return doings;
}

bool was_accepted(const wish& wish)
{
    return wish.end != outcome::not_sent || wish.ended_after.value_or(monotonic{}) > monotonic{};
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
