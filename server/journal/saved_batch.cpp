#include "server/journal/saved_batch.h"

#include "server/journal/columns.h"
#include "server/journal/house_parts.h"
#include "server/journal/house_words.h"
#include "server/journal/sql.h"

namespace journal {

namespace {
using nlohmann::json;

template <class value, std::size_t count>
value meaning_of(const value_words<value, count>& words, const SQLite::Column& column)
{
    const json text = column.getString();
    return read_word(place{text, column.getName(), true}, words);
}

desk::reason reason_in(const SQLite::Column& column)
{
    const json text = column.getString();
    return read_reason(place{text, column.getName(), true});
}

desk::doings doings_in(const SQLite::Column& column)
{
    const json object = json::parse(column.getString(), nullptr, false);
    return read_doings(place{object, column.getName(), true});
}

desk::wish read_wish_row(SQLite::Statement& row)
{
    desk::wish wish;
    wish.wished = {row.getColumn(0).getString(), row.getColumn(1).getInt(),
                   row.getColumn(2).getInt()};
    wish.was = row.getColumn(3).getInt();
    wish.end = meaning_of(OUTCOMES, row.getColumn(4));
    if (!row.getColumn(5).isNull()) wish.why = reason_in(row.getColumn(5));
    wish.detail = row.getColumn(6).getString();
    wish.unchanged = row.getColumn(7).getInt() != 0;
    wish.sent_after = duration_in(row.getColumn(8));
    wish.answered_after = duration_in(row.getColumn(9));
    wish.ended_after = duration_in(row.getColumn(10));
    wish.confirmed_late_after = duration_in(row.getColumn(11));
    if (!row.getColumn(12).isNull()) wish.found = row.getColumn(12).getInt();
    wish.accepted = row.getColumn(13).getInt() != 0;
    if (!row.getColumn(14).isNull()) wish.doings = doings_in(row.getColumn(14));
    return wish;
}
} // namespace

numbered_batch read_batch_row(SQLite::Statement& row)
{
    numbered_batch read{
        row.getColumn(0).getInt64(), row.getColumn(1).getUInt(), id_in(row.getColumn(2)), {}};
    desk::batch& batch = read.batch;
    batch.kind = meaning_of(BATCH_KINDS, row.getColumn(3));
    batch.rule = meaning_of(BATCH_RULES, row.getColumn(4));
    batch.person = row.getColumn(5).getString();
    batch.origin = row.getColumn(6).getString();
    batch.reason_given = row.getColumn(7).getString();
    batch.made = desk::wall(row.getColumn(8).getInt64());
    batch.of = id_in(row.getColumn(9));
    batch.salvo_version = row.getColumn(10).getInt();
    return read;
}

bool read_rows(database& database, numbered_batch& batch)
{
    each_row(
        database,
        "SELECT router, destination, source, was, outcome, why, detail, unchanged, sent_after,"
        " answered_after, ended_after, confirmed_late_after, found, accepted, doings FROM history"
        " WHERE batch = ? AND wish IS NOT NULL ORDER BY wish",
        [&](SQLite::Statement& row) {
            batch.batch.rows.push_back(read_wish_row(row));
            return true;
        },
        batch.number);
    return batch.batch.rows.size() == batch.wishes;
}

std::optional<desk::batch> find_batch(database& database, const desk::ulid& id)
{
    std::optional<numbered_batch> found;
    each_row(
        database, std::string(BATCH_COLUMNS) + "WHERE id = ?",
        [&](SQLite::Statement& row) {
            found = read_batch_row(row);
            return false;
        },
        desk::text_of(id));
    if (!found || !read_rows(database, *found)) return std::nullopt;
    return std::move(found->batch);
}

} // namespace journal
