#include "server/journal/store.h"

#include <utility>

#include "server/journal/sql.h"

namespace journal {

namespace {
stored read_row(SQLite::Statement& row)
{
    return {row.getColumn(0).getString(), row.getColumn(1).getString(), row.getColumn(2).getInt64(),
            row.getColumn(3).getInt64()};
}

revision note_change(store& store, stored now, bool removed)
{
    run(store.database, "UPDATE revision SET number = ?", now.changed);
    const revision number = now.changed;
    store.untold.push_back({std::move(now), removed});
    return number;
}

// The first text that comes after all that begin so.
std::string end_of(std::string_view prefix)
{
    std::string end(prefix);
    ++end.back();
    return end;
}
} // namespace

std::optional<stored> get(store& store, std::string_view key)
{
    std::optional<stored> found;
    each_row(
        store.database, "SELECT key, value, create_rev, mod_rev FROM kv WHERE key = ?",
        [&](SQLite::Statement& row) {
            found = read_row(row);
            return false;
        },
        std::string(key));
    return found;
}

std::vector<stored> list(store& store, std::string_view prefix)
{
    std::vector<stored> found;
    each_row(
        store.database,
        "SELECT key, value, create_rev, mod_rev FROM kv WHERE key >= ? AND key < ? ORDER BY key",
        [&](SQLite::Statement& row) {
            found.push_back(read_row(row));
            return true;
        },
        std::string(prefix), end_of(prefix));
    return found;
}

std::optional<revision> compare_and_set(store& store, std::string_view key, std::string_view value,
                                        revision seen)
{
    stored now{std::string(key), std::string(value), 0, current_revision(store) + 1};
    if (seen == 0) {
        now.created = now.changed;
        if (run(store.database, "INSERT INTO kv VALUES(?1, ?2, ?3, ?3) ON CONFLICT DO NOTHING",
                now.key, now.value, now.changed) == 0)
            return std::nullopt;
        return note_change(store, std::move(now), false);
    }
    if (run(store.database, "UPDATE kv SET value = ?, mod_rev = ? WHERE key = ? AND mod_rev = ?",
            now.value, now.changed, now.key, seen) == 0)
        return std::nullopt;
    now.created = get(store, key)->created;
    return note_change(store, std::move(now), false);
}

std::optional<revision> compare_and_remove(store& store, std::string_view key, revision seen)
{
    const std::optional<stored> old = get(store, key);
    if (!old || old->changed != seen) return std::nullopt;
    run(store.database, "DELETE FROM kv WHERE key = ?", old->key);
    return note_change(store, {old->key, "", old->created, current_revision(store) + 1}, true);
}

void set(store& store, std::string_view key, std::string_view value)
{
    const std::optional<stored> old = get(store, key);
    compare_and_set(store, key, value, old ? old->changed : 0);
}

void remove(store& store, std::string_view key)
{
    if (const std::optional<stored> old = get(store, key))
        compare_and_remove(store, key, old->changed);
}

revision current_revision(store& store)
{
    revision number = 0;
    each_row(store.database, "SELECT number FROM revision", [&](SQLite::Statement& row) {
        number = row.getColumn(0).getInt64();
        return false;
    });
    return number;
}

void watch(store& store, const std::string& prefix, store_watcher watcher)
{
    store.watchers.emplace_back(prefix, std::move(watcher));
}

void tell_changes(store& store)
{
    const std::vector<store_change> told = std::exchange(store.untold, {});
    for (const store_change& change : told)
        for (const auto& [prefix, watcher] : store.watchers)
            if (change.now.key.starts_with(prefix)) watcher(change);
}

void forget_changes(store& store)
{
    store.untold.clear();
}

} // namespace journal
