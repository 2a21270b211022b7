#include "server/journal/saved_house.h"

#include <charconv>
#include <limits>

#include "server/desk/entries.h"
#include "server/journal/house_parts.h"
#include "server/journal/house_words.h"
#include "server/journal/sql.h"
#include "server/journal/stored_json.h"

namespace journal {

namespace {
using nlohmann::json;

int number_in(const std::string& part, const place& at, int most)
{
    int number = -1;
    const auto [end, failed] = std::from_chars(part.data(), part.data() + part.size(), number);
    if (failed != std::errc() || end != part.data() + part.size() || number < 0 || number > most)
        complain(at, "is no position");
    return number;
}

void read_routers(store& store, desk::house& house)
{
    each_key(store, "routers/", [&](const std::vector<std::string>& key, const place& at) {
        desk::router_set set{read_settings(key.at(0), at)};
        if (has(at, "addedAfter")) set.added_after = read_ulid(member(at, "addedAfter"));
        apply_entry(house, {{}, "", "", std::move(set)});
    });
    each_key(store, "labels/", [&](const std::vector<std::string>& key, const place& at) {
        if (key.size() != 3) complain(at, "is no label's key");
        const desk::side side =
            key[1] == "sources" ? desk::side::sources : desk::side::destinations;
        const int position = number_in(key[2], at, desk::POSITIONS - 1);
        apply_entry(house, {{}, "", "", desk::label_set{key[0], side, position, read_label(at)}});
    });
    each_key(store, "locks/", [&](const std::vector<std::string>& key, const place& at) {
        if (key.size() != 2) complain(at, "is no lock's key");
        const int destination = number_in(key[1], at, desk::ROUTED_POSITIONS - 1);
        apply_entry(house, {{}, "", "", desk::lock_set{key[0], destination, read_lock(at)}});
    });
}

// The name comes before its versions.
void read_salvos(store& store, desk::house& house)
{
    std::string name;
    std::vector<desk::entry> deletions;
    each_key(store, "salvos/", [&](const std::vector<std::string>& key, const place& at) {
        desk::ulid id;
        if (!desk::read_id(key.at(0), id)) complain(at, "is no salvo's key");
        if (key.size() == 1) {
            name = read_text(member(at, "name"), desk::TEXT_LENGTH);
            if (has(at, "deleted"))
                deletions.push_back(
                    {read_time(member(at, "deleted")), "", "", desk::salvo_deleted{id}});
        } else {
            apply_entry(house, {{}, "", "", desk::salvo_saved{id, name, read_version(at, 1)}});
        }
    });
    for (const desk::entry& deletion : deletions)
        apply_entry(house, deletion);
}

desk::ulid id_in(const SQLite::Column& column)
{
    desk::ulid id;
    if (!column.isNull()) desk::read_id(column.getString(), id);
    return id;
}

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

std::optional<desk::monotonic> duration_in(const SQLite::Column& column)
{
    if (column.isNull()) return std::nullopt;
    return desk::monotonic(column.getInt64());
}

void read_authors(store& store, desk::house& house)
{
    each_row(store.database,
             "SELECT router, destination, source, batch, wish, person, since FROM authors",
             [&](SQLite::Statement& row) {
                 const auto router = house.routers.find(row.getColumn(0).getString());
                 if (router == house.routers.end()) return true;
                 desk::authorship author;
                 author.source = row.getColumn(2).getInt();
                 if (!row.getColumn(3).isNull())
                     author.by = {id_in(row.getColumn(3)), row.getColumn(4).getUInt()};
                 author.person = row.getColumn(5).getString();
                 if (!row.getColumn(6).isNull())
                     author.since = desk::wall(row.getColumn(6).getInt64());
                 router->second.authors[row.getColumn(1).getInt()] = author;
                 return true;
             });
}

struct numbered_batch {
    std::int64_t number = 0;
    std::size_t wishes = 0; // that it was made with
    desk::ulid id;
    desk::batch batch; // without its rows
};

constexpr const char* BATCH_COLUMNS = "SELECT number, wishes, id, kind, rule, person, origin,"
                                      " reason, made, of, salvo_version FROM batches ";

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

// False when the oldest of its rows have been removed from the history by now.
bool read_rows(store& store, numbered_batch& batch)
{
    each_row(
        store.database,
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

void add_batch(store& store, desk::house& house, numbered_batch batch)
{
    if (house.batches.contains(batch.id) || !read_rows(store, batch)) return;
    house.batch_rows += batch.batch.rows.size();
    house.batches.emplace(batch.id, std::move(batch.batch));
}

// The last ones, and whichever still have an open row.
void read_batches(store& store, desk::house& house)
{
    std::vector<numbered_batch> kept;
    std::size_t rows = 0;
    each_row(store.database, std::string(BATCH_COLUMNS) + "ORDER BY id DESC",
             [&](SQLite::Statement& row) {
                 kept.push_back(read_batch_row(row));
                 rows += kept.back().wishes;
                 if (rows > desk::BATCH_ROWS_KEPT) kept.pop_back();
                 return rows < desk::BATCH_ROWS_KEPT && kept.size() < desk::BATCHES_KEPT;
             });
    each_row(store.database,
             std::string(BATCH_COLUMNS) +
                 "WHERE number IN (SELECT batch FROM history WHERE outcome = 'open')",
             [&](SQLite::Statement& row) {
                 kept.push_back(read_batch_row(row));
                 return true;
             });
    for (numbered_batch& batch : kept)
        add_batch(store, house, std::move(batch));
}

std::vector<std::string> people_of_batches(store& store)
{
    std::vector<std::string> people;
    std::optional<std::string> next = "";
    while (next) {
        const std::string before = *next;
        next.reset();
        each_row(
            store.database, "SELECT person FROM batches WHERE person > ? ORDER BY person LIMIT 1",
            [&](SQLite::Statement& row) {
                next = row.getColumn(0).getString();
                return false;
            },
            before);
        if (next) people.push_back(*next);
    }
    return people;
}

// As it was made: what it accepted was open.
desk::batch as_made(desk::batch batch)
{
    for (desk::wish& row : batch.rows)
        if (was_accepted(row) && !row.unchanged) row.end = desk::outcome::open;
    return batch;
}

// The last ones of a person, oldest first, from the first that is not older than this: one after it
// may be, when the wall clock was set back, and may have undone it.
std::vector<numbered_batch> batches_of(store& store, const std::string& person, desk::wall since)
{
    std::vector<numbered_batch> batches;
    each_row(
        store.database, std::string(BATCH_COLUMNS) + "WHERE person = ? ORDER BY id DESC",
        [&](SQLite::Statement& row) {
            batches.push_back(read_batch_row(row));
            return batches.size() < BATCHES_UNDONE;
        },
        person);
    while (!batches.empty() && batches.back().batch.made < since)
        batches.pop_back();
    return {batches.rbegin(), batches.rend()};
}

void forget_old_steps(desk::undo_record& record, desk::wall since)
{
    for (std::deque<desk::undo_step>* steps : {&record.undo, &record.redo})
        std::erase_if(*steps, [&](const desk::undo_step& step) { return step.made < since; });
}

// By the desk's own rules: it is given the batches again.
void read_undo(store& store, desk::house& house, desk::wall now)
{
    desk::house again;
    for (const std::string& person : people_of_batches(store)) {
        for (numbered_batch& each : batches_of(store, person, now - desk::UNDO_AGE)) {
            if (!read_rows(store, each)) continue;
            const desk::wall made = each.batch.made;
            apply_entry(again,
                        {made, "", "", desk::batch_made{each.id, as_made(std::move(each.batch))}});
        }
        again.batches.clear();
        again.batch_rows = 0;
    }
    for (auto& [person, record] : again.undo)
        forget_old_steps(record, now - desk::UNDO_AGE);
    std::erase_if(again.undo, [](const auto& each) {
        return each.second.undo.empty() && each.second.redo.empty();
    });
    house.undo = std::move(again.undo);
}
} // namespace

std::map<desk::ulid, desk::notice> read_notices(store& store)
{
    std::map<desk::ulid, desk::notice> notices;
    each_key(store, "notices/", [&](const std::vector<std::string>& key, const place& at) {
        desk::ulid id;
        if (!desk::read_id(key.at(0), id)) complain(at, "is no notice's key");
        notices[id] = read_notice(at);
    });
    return notices;
}

desk::house saved_house(store& store, desk::wall now)
{
    desk::house house;
    read_routers(store, house);
    read_salvos(store, house);
    read_authors(store, house);
    read_batches(store, house);
    read_undo(store, house, now);
    house.notices = read_notices(store);
    return house;
}

} // namespace journal
