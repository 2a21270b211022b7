// How long the history is kept, and its removal in small pieces.
#pragma once

#include <cstdint>

#include "server/desk/moment.h"
#include "server/journal/database.h"

namespace journal {

constexpr int ROWS_REMOVED_AT_ONCE = 1000;

// A house that is made again from the tables has no batches that have been removed: less than
// desk::BATCH_ROWS_KEPT rows, or than two days, are too little.
struct retention {
    std::chrono::days age{400};
    std::int64_t rows = 10'000'000;
};

// Removes some of what is beyond either, oldest first, in a transaction of its own. False when
// there was nothing.
bool remove_oldest(database& database, const retention& kept, desk::wall now);

} // namespace journal
