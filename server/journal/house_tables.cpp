#include "server/journal/house_tables.h"

#include "server/journal/entry_tables.h"
#include "server/journal/house_parts.h"
#include "server/journal/keys.h"
#include "server/journal/sql.h"
#include "server/journal/stored_json.h"

namespace journal {

namespace {
using nlohmann::json;

void add_router(note& all, const std::string& id, const desk::house_router& router)
{
    all.keys[router_key(id)] = json_text(known_router_object(router.settings, router.added_after));
    for (const auto& [position, label] : router.source_labels)
        all.keys[label_key(id, desk::side::sources, position)] =
            json_text(label_object(position, label));
    for (const auto& [position, label] : router.destination_labels)
        all.keys[label_key(id, desk::side::destinations, position)] =
            json_text(label_object(position, label));
    for (const auto& [destination, lock] : router.locks)
        all.keys[lock_key(id, destination)] = json_text(lock_object(destination, lock));
}

void add_salvo(note& all, const desk::ulid& id, const desk::salvo& salvo,
               const std::optional<desk::wall>& deleted)
{
    json object = {{"name", salvo.name}};
    if (deleted) object["deleted"] = deleted->count();
    all.keys[salvo_key(id)] = json_text(std::move(object));
    for (const desk::salvo_version& version : salvo.versions)
        all.keys[version_key(id, version.number)] = json_text(version_object(version));
}

void keep_authors(store& store, const desk::house& house)
{
    run(store.database, "DELETE FROM authors");
    for (const auto& [id, router] : house.routers)
        for (const auto& [destination, author] : router.authors) {
            std::optional<std::string> batch;
            std::optional<std::uint32_t> row;
            std::optional<std::int64_t> since;
            if (author.by) {
                batch = desk::text_of(author.by->batch);
                row = author.by->row;
            }
            if (author.since) since = author.since->count();
            run(store.database, "INSERT INTO authors VALUES(?, ?, ?, ?, ?, ?, ?)", id, destination,
                author.source, batch, row, author.person, since);
        }
}

void keep_batches(store& store, const desk::house& house)
{
    for (const auto& [id, batch] : house.batches) {
        keep_entry(store, {batch.made, batch.person, batch.origin, desk::batch_made{id, batch}});
        for (std::uint32_t row = 0; row < batch.rows.size(); ++row)
            keep_wish(store, {id, row}, batch.rows[row]);
    }
}

// The house has forgotten them, so that they have ended.
void end_forgotten(store& store, const desk::house& house)
{
    std::vector<std::string> open;
    each_row(store.database,
             "SELECT DISTINCT batches.id FROM history JOIN batches ON batches.number = batch"
             " WHERE outcome = 'open'",
             [&](SQLite::Statement& row) {
                 open.push_back(row.getColumn(0).getString());
                 return true;
             });
    for (const std::string& text : open) {
        desk::ulid id;
        if (desk::read_id(text, id) && house.batches.contains(id)) continue;
        run(store.database,
            "UPDATE history SET outcome = ?, detail = 'the record of its end was lost'"
            " WHERE outcome = 'open' AND batch = (SELECT number FROM batches WHERE id = ?)",
            std::string(word_of(OUTCOMES, desk::outcome::unknown)), text);
    }
}
} // namespace

void keep_house(store& store, const desk::house& house)
{
    note all;
    all.whole = {"routers/", "labels/", "locks/", "salvos/", "notices/"};
    for (const auto& [id, router] : house.routers)
        add_router(all, id, router);
    for (const auto& [id, salvo] : house.salvos)
        add_salvo(all, id, salvo, {});
    for (const auto& [id, deleted] : house.deleted_salvos)
        add_salvo(all, id, deleted.salvo, deleted.deleted);
    for (const auto& [id, notice] : house.notices)
        all.keys[notice_key(id)] = json_text(notice_object(notice));
    keep_note(store, all);
    keep_batches(store, house);
    end_forgotten(store, house);
    keep_authors(store, house);
}

} // namespace journal
