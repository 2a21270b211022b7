// A batch of wishes again, from the tables.
#pragma once

#include <cstdint>
#include <optional>

#include "server/desk/house.h"
#include "server/journal/database.h"

namespace journal {

struct numbered_batch {
    std::int64_t number = 0;
    std::size_t wishes = 0; // that it was made with
    desk::ulid id;
    desk::batch batch; // without its rows
};

// Before a condition and an order: what read_batch_row reads.
constexpr const char* BATCH_COLUMNS = "SELECT number, wishes, id, kind, rule, person, origin,"
                                      " reason, made, of, salvo_version FROM batches ";

// The functions throw misfit when a word is none of ours.
numbered_batch read_batch_row(SQLite::Statement& row);

// False when the oldest of its rows have been removed from the history by now.
bool read_rows(database& database, numbered_batch& batch);

// None when there is none, or it is not there whole.
std::optional<desk::batch> find_batch(database& database, const desk::ulid& id);

} // namespace journal
