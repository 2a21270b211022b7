#include "server/desk/steps.h"

namespace desk {

namespace {
std::optional<std::pair<wall, std::pair<std::string, int>>>
lock_end_of(const desk_state& desk, const std::string& router, int destination)
{
    const house_router* known = find_router(desk, router);
    if (known == nullptr) return {};
    const auto lock = known->locks.find(destination);
    if (lock == known->locks.end() || !lock->second.until) return {};
    return {{*lock->second.until, {router, destination}}};
}

void forget_lock_end(desk_state& desk, const std::string& router, int destination)
{
    if (const auto end = lock_end_of(desk, router, destination)) desk.lock_ends.erase(*end);
}

void forget_lock_ends(desk_state& desk, const entry& entry)
{
    if (const auto* set = std::get_if<lock_set>(&entry.what)) {
        forget_lock_end(desk, set->router, set->destination);
    } else if (const auto* removed = std::get_if<lock_removed>(&entry.what)) {
        forget_lock_end(desk, removed->router, removed->destination);
    } else if (const auto* gone = std::get_if<router_removed>(&entry.what)) {
        if (const house_router* known = find_router(desk, gone->router))
            for (const auto& [destination, lock] : known->locks)
                forget_lock_end(desk, gone->router, destination);
    }
}

// Of the salvo that the entry deletes or restores; none when it is not a deleted one now.
std::optional<std::pair<wall, ulid>> salvo_end_of(const desk_state& desk, const entry& entry)
{
    ulid id;
    if (const auto* deleted = std::get_if<salvo_deleted>(&entry.what)) id = deleted->id;
    if (const auto* restored = std::get_if<salvo_restored>(&entry.what)) id = restored->id;
    if (const auto* forgotten = std::get_if<salvo_forgotten>(&entry.what)) id = forgotten->id;
    const auto deleted = desk.house.deleted_salvos.find(id);
    if (deleted == desk.house.deleted_salvos.end()) return {};
    return {{deleted->second.deleted + DELETED_AGE, id}};
}
} // namespace

live_router* find_live(desk_state& desk, const std::string& router)
{
    const auto found = desk.live.find(router);
    return found == desk.live.end() ? nullptr : &found->second;
}

void record_entry(desk_state& desk, entry entry)
{
    forget_lock_ends(desk, entry);
    if (const auto end = salvo_end_of(desk, entry)) desk.salvo_ends.erase(*end);
    apply_entry(desk.house, entry);
    if (const auto end = salvo_end_of(desk, entry)) desk.salvo_ends.insert(*end);
    if (std::holds_alternative<router_set>(entry.what) ||
        std::holds_alternative<router_removed>(entry.what))
        ++desk.set_ups;
    if (const auto* set = std::get_if<lock_set>(&entry.what))
        if (auto end = lock_end_of(desk, set->router, set->destination))
            desk.lock_ends.insert(std::move(*end));
    desk.entries.push_back(std::move(entry));
}

void forget_salvo(desk_state& desk, const moment& now, const ulid& id)
{
    record_entry(desk, {now.utc, "", "", salvo_forgotten{id}});
    tell_house_change(desk, change::kind::salvo, id);
}

void tell_change(desk_state& desk, const std::string& router, change::kind what, int position,
                 const ulid& id)
{
    live_router* live = find_live(desk, router);
    if (live == nullptr) return;
    desk.changes.push_back({what, router, ++live->revision, position, "", id});
}

void tell_house_change(desk_state& desk, change::kind what, const ulid& salvo)
{
    desk.changes.push_back({what, "", ++desk.revision, 0, "", salvo});
}

void tell_batch(desk_state& desk, const ulid& id)
{
    desk.changes.push_back({change::kind::batch, "", 0, 0, "", id});
}

void tell_notice(desk_state& desk, const std::string& person, const ulid& id)
{
    desk.changes.push_back({change::kind::notice, "", 0, 0, person, id});
}

void tell_stage_change(desk_state& desk, const std::string& person, const std::string& router)
{
    tell_change(desk, router, change::kind::stage);
    desk.changes.back().person = person;
}

} // namespace desk
