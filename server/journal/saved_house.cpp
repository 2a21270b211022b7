#include "server/journal/saved_house.h"

#include <charconv>
#include <limits>

#include "server/desk/entries.h"
#include "server/journal/columns.h"
#include "server/journal/house_parts.h"
#include "server/journal/saved_batch.h"
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

void add_batch(store& store, desk::house& house, numbered_batch batch)
{
    if (house.batches.contains(batch.id) || !read_rows(store.database, batch)) return;
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

// What an undo that has ended so was to put back may be undone again.
bool leaves_undo(desk::outcome end)
{
    return end == desk::outcome::not_sent || end == desk::outcome::refused;
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
            if (!read_rows(store.database, each)) continue;
            const desk::wall made = each.batch.made;
            apply_entry(again, {made, "", "", desk::batch_made{each.id, as_made(each.batch)}});
            for (std::uint32_t i = 0; i < each.batch.rows.size(); ++i) {
                desk::wish_ended ended;
                ended.id = {each.id, i};
                ended.end = each.batch.rows[i].end;
                if (leaves_undo(ended.end)) apply_entry(again, {made, "", "", std::move(ended)});
            }
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
