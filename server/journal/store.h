// What holds for the whole house, as keys and JSON values with revisions: small enough that a
// consensus store of several hosts can stand behind the same functions.
//
//   routers/ID                         settings, and the last batch from before it was added
//   labels/ID/sources/POSITION         alias and group; destinations likewise
//   locks/ID/POSITION
//   salvos/ULID                        the name, and when it was deleted
//   salvos/ULID/versions/NUMBER        ten digits, so that they sort
//   notices/ULID
//
// One counter grows by one with every change; a key carries its value when it was made and when it
// was changed last. The functions work within a transaction that the caller has begun.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/journal/database.h"

namespace journal {

using revision = std::int64_t;

struct stored {
    std::string key;
    std::string value; // JSON; members that the reader does not know are ignored
    revision created = 0;
    revision changed = 0;
    bool operator==(const stored&) const = default;
};

struct store_change {
    stored now; // `changed` is that of the change; of a removed key without a value
    bool removed = false;
};

using store_watcher = std::function<void(const store_change&)>;

struct store {
    journal::database& database;
    std::vector<std::pair<std::string, store_watcher>> watchers; // by prefix
    std::vector<store_change> untold; // of the transaction that is under way
};

std::optional<stored> get(store& store, std::string_view key);

// All keys that begin so, in the order of their bytes.
std::vector<stored> list(store& store, std::string_view prefix);

// Only while the key's `changed` is this, 0: while there is no such key. Returns the new revision;
// none when nothing was done.
std::optional<revision> compare_and_set(store& store, std::string_view key, std::string_view value,
                                        revision seen);
std::optional<revision> compare_and_remove(store& store, std::string_view key, revision seen);

// Whatever it is now.
void set(store& store, std::string_view key, std::string_view value);
void remove(store& store, std::string_view key);

revision current_revision(store& store);

// Calls it with every change of keys that begin so, in order, each once.
void watch(store& store, const std::string& prefix, store_watcher watcher);

// After the transaction: tells the watchers, or forgets what it has not done.
void tell_changes(store& store);
void forget_changes(store& store);

} // namespace journal
