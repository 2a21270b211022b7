#include "server/desk/entries.h"

#include <algorithm>

namespace desk {

namespace {
house_router* find_router(house& house, const std::string& router)
{
    const auto found = house.routers.find(router);
    return found == house.routers.end() ? nullptr : &found->second;
}

wish* find_row(house& house, const wish_id& id)
{
    const auto batch = house.batches.find(id.batch);
    if (batch == house.batches.end() || id.row >= batch->second.rows.size()) return nullptr;
    return &batch->second.rows[id.row];
}

void set_author(house& house, const wish_id& id, std::optional<wall> since)
{
    const route& shown = find_wish(house, id)->wished;
    if (house_router* router = find_router(house, shown.router))
        router->authors[shown.destination] = {shown.source, id, house.batches.at(id.batch).person,
                                              since};
}

bool has_open_row(const batch& batch)
{
    return std::any_of(batch.rows.begin(), batch.rows.end(),
                       [](const wish& row) { return row.end == outcome::open; });
}

void forget_batches(house& house)
{
    auto oldest = house.batches.begin();
    while ((house.batches.size() > BATCHES_KEPT || house.batch_rows > BATCH_ROWS_KEPT) &&
           oldest != house.batches.end()) {
        if (has_open_row(oldest->second)) {
            ++oldest;
        } else {
            house.batch_rows -= oldest->second.rows.size();
            oldest = house.batches.erase(oldest);
        }
    }
}

undo_step step_of(const ulid& id, const batch& batch)
{
    undo_step step{id, batch.made, {}};
    for (std::uint32_t i = 0; i < batch.rows.size(); ++i)
        if (batch.rows[i].end == outcome::open)
            step.rows.push_back({{id, i}, batch.rows[i].wished, batch.rows[i].was});
    return step;
}

void limit_steps(std::deque<undo_step>& steps)
{
    std::size_t rows = 0;
    for (const undo_step& kept : steps)
        rows += kept.rows.size();
    while (steps.size() > UNDO_STEPS || rows > UNDO_ROWS) {
        rows -= steps.front().rows.size();
        steps.pop_front();
    }
}

void push_step(std::deque<undo_step>& steps, undo_step step, wall now)
{
    while (!steps.empty() && steps.front().made < now - UNDO_AGE)
        steps.pop_front();
    if (step.rows.empty()) return;
    steps.push_back(std::move(step));
    limit_steps(steps);
}

void drop_step(std::deque<undo_step>& steps, const ulid& batch)
{
    std::erase_if(steps, [&](const undo_step& step) { return step.batch == batch; });
}

wall last_use(const undo_record& record)
{
    const wall undo = record.undo.empty() ? wall{} : record.undo.back().made;
    const wall redo = record.redo.empty() ? wall{} : record.redo.back().made;
    return std::max(undo, redo);
}

void forget_people(house& house)
{
    if (house.undo.size() > PEOPLE)
        house.undo.erase(std::min_element(house.undo.begin(), house.undo.end(),
                                          [](const auto& one, const auto& other) {
                                              return last_use(one.second) < last_use(other.second);
                                          }));
}

void keep_step(house& house, const ulid& id, const batch& batch, wall now)
{
    undo_step step = step_of(id, batch);
    const bool goes_back = batch.kind == batch_kind::undo || batch.kind == batch_kind::redo;
    const bool blocked = std::all_of(batch.rows.begin(), batch.rows.end(),
                                     [](const wish& row) { return row.end == outcome::not_sent; });
    const bool uses_up = goes_back && (batch.rule == batch_rule::rest || !blocked);
    if (step.rows.empty() && !uses_up) return;
    undo_record& record = house.undo[batch.person];
    if (batch.kind == batch_kind::undo) {
        drop_step(record.undo, batch.of);
        push_step(record.redo, std::move(step), now);
    } else if (batch.kind == batch_kind::redo) {
        drop_step(record.redo, batch.of);
        push_step(record.undo, std::move(step), now);
    } else {
        record.redo.clear();
        push_step(record.undo, std::move(step), now);
    }
    if (record.undo.empty() && record.redo.empty()) house.undo.erase(batch.person);
    forget_people(house);
}

// Where a step of the batch stands, or would, among those of earlier and later ones.
undo_step& step_for(std::deque<undo_step>& steps, const ulid& id, const batch& batch)
{
    const auto place = std::find_if(steps.begin(), steps.end(),
                                    [&](const undo_step& step) { return !(step.batch < id); });
    if (place != steps.end() && place->batch == id) return *place;
    return *steps.insert(place, {id, batch.made, {}});
}

// What was to be undone and stands as it did can be undone again. When only what could go was to
// go, a refusal of the router is given up.
void give_back(house& house, const wish_id& id, const wish& ended)
{
    const batch& by = house.batches.at(id.batch);
    const bool stands = ended.end == outcome::not_sent ||
                        (ended.end == outcome::refused && by.rule == batch_rule::all);
    const auto of = house.batches.find(by.of);
    if (by.kind != batch_kind::undo || !stands || of == house.batches.end()) return;
    const std::vector<wish>& rows = of->second.rows;
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const wish& each) {
        return each.wished.router == ended.wished.router &&
               each.wished.destination == ended.wished.destination;
    });
    if (row == rows.end()) return;
    const undo_row given{
        {by.of, static_cast<std::uint32_t>(row - rows.begin())}, row->wished, row->was};
    std::deque<undo_step>& steps = house.undo[by.person].undo;
    std::vector<undo_row>& there = step_for(steps, by.of, of->second).rows;
    const auto place = std::find_if(there.begin(), there.end(),
                                    [&](const undo_row& each) { return given.by < each.by; });
    there.insert(place, given);
    limit_steps(steps);
    forget_people(house);
}

// Also for undo.
void set_was(house& house, const wish_id& id, wish& row, int was)
{
    if (was == UNKNOWN_SOURCE || was == row.was) return;
    row.was = was;
    const auto record = house.undo.find(house.batches.at(id.batch).person);
    if (record == house.undo.end()) return;
    for (std::deque<undo_step>* steps : {&record->second.undo, &record->second.redo})
        for (undo_step& step : *steps)
            for (undo_row& undone : step.rows)
                if (undone.by == id) undone.was = was;
}

void apply(house& house, const entry&, const router_set& set)
{
    house_router& router = house.routers[set.settings.id];
    router.settings = set.settings;
    router.added_after = set.added_after;
}

void apply(house& house, const entry&, const router_removed& removed)
{
    house.routers.erase(removed.router);
}

void apply(house& house, const entry&, const label_set& set)
{
    house_router* router = find_router(house, set.router);
    if (!router) return;
    auto& labels = set.side == side::sources ? router->source_labels : router->destination_labels;
    if (set.label == label{})
        labels.erase(set.position);
    else
        labels[set.position] = set.label;
}

void apply(house& house, const entry&, const lock_set& set)
{
    if (house_router* router = find_router(house, set.router))
        router->locks[set.destination] = set.lock;
}

void apply(house& house, const entry& entry, const lock_removed& removed)
{
    house_router* router = find_router(house, removed.router);
    if (!router) return;
    router->locks.erase(removed.destination);
    if (removed.notice.is_none()) return;
    house.notices[removed.notice] = {
        removed.owner, entry.at, entry.person, removed.router, removed.destination, removed.reason};
    forget_notices(house.notices, removed.owner, entry.at);
}

void apply(house& house, const entry&, const notice_dismissed& dismissed)
{
    house.notices.erase(dismissed.id);
}

void apply(house& house, const entry&, const salvo_saved& saved)
{
    salvo& salvo = house.salvos[saved.id];
    salvo.name = saved.name;
    if (salvo.versions.size() == VERSIONS_PER_SALVO) salvo.versions.pop_front();
    salvo.versions.push_back(saved.version);
}

void apply(house& house, const entry&, const salvo_renamed& renamed)
{
    const auto salvo = house.salvos.find(renamed.id);
    if (salvo != house.salvos.end()) salvo->second.name = renamed.name;
}

void apply(house& house, const entry& entry, const salvo_deleted& deleted)
{
    auto salvo = house.salvos.extract(deleted.id);
    if (salvo) house.deleted_salvos[deleted.id] = {std::move(salvo.mapped()), entry.at};
}

void apply(house& house, const entry&, const salvo_restored& restored)
{
    auto deleted = house.deleted_salvos.extract(restored.id);
    if (deleted) house.salvos[restored.id] = std::move(deleted.mapped().salvo);
}

void apply(house& house, const entry&, const salvo_forgotten& forgotten)
{
    house.deleted_salvos.erase(forgotten.id);
}

void apply(house& house, const entry& entry, const batch_made& made)
{
    if (!house.batches.try_emplace(made.id, made.batch).second) return;
    house.batch_rows += made.batch.rows.size();
    keep_step(house, made.id, made.batch, entry.at);
    forget_batches(house);
}

void apply(house& house, const entry&, const wish_ended& ended)
{
    wish* row = find_row(house, ended.id);
    if (!row || row->end != outcome::open) return;
    set_was(house, ended.id, *row, ended.was);
    row->end = ended.end;
    row->why = ended.why;
    row->detail = ended.detail;
    row->sent_after = ended.sent_after;
    row->answered_after = ended.answered_after;
    row->ended_after = ended.ended_after;
    row->doings = ended.doings;
    if (ended.end == outcome::confirmed) set_author(house, ended.id, ended.since);
    give_back(house, ended.id, *row);
    forget_batches(house);
}

void apply(house& house, const entry&, const confirmed_late& late)
{
    wish* row = find_row(house, late.id);
    if (!row) return;
    set_was(house, late.id, *row, late.was);
    row->confirmed_late_after = late.after;
    row->doings = late.doings;
    set_author(house, late.id, late.since);
}

void apply(house& house, const entry&, const wish_found& found)
{
    wish* row = find_row(house, found.id);
    if (!row) return;
    row->found = found.source;
    row->detail = found.detail;
}

void apply(house& house, const entry&, const wish_accepted& accepted)
{
    if (wish* row = find_row(house, accepted.id)) row->accepted = true;
}

void apply(house& house, const entry&, const outside_change& change)
{
    if (house_router* router = find_router(house, change.router))
        router->authors[change.destination] = {change.source, std::nullopt, "", change.since};
}

void apply(house& house, const entry&, const author_forgotten& forgotten)
{
    if (house_router* router = find_router(house, forgotten.router))
        router->authors.erase(forgotten.destination);
}
} // namespace

void forget_notices(std::map<ulid, notice>& notices, const std::string& person, wall now)
{
    std::erase_if(notices, [&](const auto& each) { return each.second.at < now - NOTICE_AGE; });
    const auto is_theirs = [&](const auto& each) {
        return each.second.person == person;
    };
    if (std::count_if(notices.begin(), notices.end(), is_theirs) > static_cast<long>(NOTICES))
        notices.erase(std::find_if(notices.begin(), notices.end(), is_theirs));
}

void apply_entry(house& house, const entry& entry)
{
    std::visit([&](const auto& what) { apply(house, entry, what); }, entry.what);
}

} // namespace desk
