// The house again, from the tables.
#pragma once

#include "server/desk/house.h"
#include "server/journal/store.h"

namespace journal {

// Undo is made again from so many of a person's last batches; of a person who has undone and redone
// more than that within desk::UNDO_AGE, older steps are forgotten.
constexpr std::size_t BATCHES_UNDONE = 1000;

// As the desk had it, but what is beyond a bound of the desk's (limits.h): its steps that are older
// than UNDO_AGE, and which batches it keeps of more than BATCHES_KEPT or BATCH_ROWS_KEPT. Throws
// misfit when a key's value is wrong.
desk::house saved_house(store& store, desk::wall now);

// Those of the house alone.
std::map<desk::ulid, desk::notice> read_notices(store& store);

} // namespace journal
