#include "server/journal/retention.h"

#include "server/journal/sql.h"

namespace journal {

bool remove_oldest(database& database, const retention& kept, desk::wall now)
{
    SQLite::Transaction transaction(*database.file);
    int removed = run(database,
                      "DELETE FROM history WHERE id IN (SELECT id FROM history"
                      " WHERE id <= (SELECT max(id) FROM history) - ? ORDER BY id LIMIT ?)",
                      kept.rows, ROWS_REMOVED_AT_ONCE);
    if (removed == 0)
        removed = run(database,
                      "DELETE FROM history WHERE id IN (SELECT id FROM history"
                      " WHERE at < ? ORDER BY at, id LIMIT ?)",
                      (now - kept.age).count(), ROWS_REMOVED_AT_ONCE);
    // Those made before the first that still has a row.
    if (removed == 0)
        removed = run(database,
                      "DELETE FROM batches WHERE number IN (SELECT number FROM batches WHERE number"
                      " < (SELECT min(batch) FROM history WHERE batch IS NOT NULL) LIMIT ?)",
                      ROWS_REMOVED_AT_ONCE);
    transaction.commit();
    return removed > 0;
}

} // namespace journal
