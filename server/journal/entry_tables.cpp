#include "server/journal/entry_tables.h"

#include "server/desk/limits.h"
#include "server/desk/words.h"
#include "server/journal/house_parts.h"
#include "server/journal/keys.h"
#include "server/journal/saved_house.h"
#include "server/journal/sql.h"
#include "server/journal/stored_json.h"

namespace journal {

namespace {
using nlohmann::json;

// What has happened beside wishes.
struct event {
    std::string_view kind{};
    std::optional<std::string> salvo{};
    std::optional<std::string> router{};
    std::optional<int> destination{};
    std::optional<int> source{};
    std::optional<int> was{};
    std::optional<json> data{};
};

void add_event(store& store, const desk::entry& entry, const event& event)
{
    std::optional<std::string> data;
    if (event.data) data = json_text(*event.data);
    run(store.database,
        "INSERT INTO history(at, kind, person, origin, salvo, router, destination, source, was,"
        " data) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
        entry.at.count(), std::string(event.kind), entry.person, entry.origin, event.salvo,
        event.router, event.destination, event.source, event.was, data);
}

void remove_all(store& store, const std::string& prefix)
{
    for (const stored& each : list(store, prefix))
        remove(store, each.key);
}

template <class duration>
std::optional<std::int64_t> count_of(const std::optional<duration>& time)
{
    if (!time) return std::nullopt;
    return time->count();
}

std::optional<std::string> word_of_reason(desk::reason why)
{
    if (why == desk::reason::none) return std::nullopt;
    return desk::code_of(why);
}

std::optional<std::int64_t> number_of(store& store, const desk::ulid& batch)
{
    std::optional<std::int64_t> number;
    each_row(
        store.database, "SELECT number FROM batches WHERE id = ?",
        [&](SQLite::Statement& row) {
            number = row.getColumn(0).getInt64();
            return false;
        },
        desk::text_of(batch));
    return number;
}

// What the wished destination shows is this wish's doing, as long as its router is known.
void set_author(store& store, std::int64_t batch, const desk::wish_id& id,
                const std::optional<desk::wall>& since)
{
    run(store.database,
        "INSERT OR REPLACE INTO authors SELECT router, destination, source, ?, wish, person, ?"
        " FROM history WHERE batch = ? AND wish = ? AND EXISTS"
        " (SELECT 1 FROM kv WHERE key = 'routers/' || history.router)",
        desk::text_of(id.batch), count_of(since), batch, id.row);
}

void keep(store& store, const desk::entry& entry, const desk::router_set& set)
{
    journal::set(store, router_key(set.settings.id),
                 json_text(known_router_object(set.settings, set.added_after)));
    add_event(
        store, entry,
        {.kind = ROUTER_SET, .router = set.settings.id, .data = settings_object(set.settings)});
}

void keep(store& store, const desk::entry& entry, const desk::router_removed& removed)
{
    remove(store, router_key(removed.router));
    remove_all(store, "labels/" + removed.router + "/");
    remove_all(store, "locks/" + removed.router + "/");
    run(store.database, "DELETE FROM authors WHERE router = ?", removed.router);
    add_event(store, entry, {.kind = ROUTER_REMOVED, .router = removed.router});
}

void keep(store& store, const desk::entry& entry, const desk::label_set& set)
{
    const std::string key = label_key(set.router, set.side, set.position);
    json label = label_object(set.position, set.label);
    if (set.label == desk::label{})
        remove(store, key);
    else
        journal::set(store, key, json_text(label));
    const bool of_destination = set.side == desk::side::destinations;
    label["side"] = of_destination ? "destinations" : "sources";
    add_event(store, entry,
              {.kind = LABEL_SET,
               .router = set.router,
               .destination = of_destination ? std::optional(set.position) : std::nullopt,
               .data = std::move(label)});
}

void keep(store& store, const desk::entry& entry, const desk::lock_set& set)
{
    const json lock = lock_object(set.destination, set.lock);
    journal::set(store, lock_key(set.router, set.destination), json_text(lock));
    add_event(
        store, entry,
        {.kind = LOCK_SET, .router = set.router, .destination = set.destination, .data = lock});
}

void keep_notice(store& store, const desk::entry& entry, const desk::lock_removed& removed)
{
    if (!get(store, router_key(removed.router))) return;
    const desk::notice notice{removed.owner,       entry.at,      entry.person, removed.router,
                              removed.destination, removed.reason};
    set(store, notice_key(removed.notice), json_text(notice_object(notice)));
    const std::map<desk::ulid, desk::notice> all = read_notices(store);
    std::map<desk::ulid, desk::notice> kept = all;
    forget_notices(kept, removed.owner, entry.at);
    for (const auto& [id, each] : all)
        if (!kept.contains(id)) remove(store, notice_key(id));
}

void keep(store& store, const desk::entry&, const desk::notice_dismissed& dismissed)
{
    remove(store, notice_key(dismissed.id));
}

void keep(store& store, const desk::entry& entry, const desk::lock_removed& removed)
{
    remove(store, lock_key(removed.router, removed.destination));
    if (!removed.notice.is_none()) keep_notice(store, entry, removed);
    add_event(store, entry,
              {.kind = word_of(LOCK_ENDS, removed.how),
               .router = removed.router,
               .destination = removed.destination,
               .data = json{{"owner", removed.owner}, {"reason", removed.reason}}});
}

void keep(store& store, const desk::entry& entry, const desk::salvo_saved& saved)
{
    const std::string key = salvo_key(saved.id);
    const json version = version_object(saved.version);
    journal::set(store, key, json_text({{"name", saved.name}}));
    journal::set(store, version_key(saved.id, saved.version.number), json_text(version));
    const std::vector<stored> versions = list(store, key + "/versions/");
    for (std::size_t i = 0; i + desk::VERSIONS_PER_SALVO < versions.size(); ++i)
        remove(store, versions[i].key);
    add_event(store, entry,
              {.kind = SALVO_SAVED,
               .salvo = desk::text_of(saved.id),
               .data = json{{"name", saved.name}, {"version", version}}});
}

// Calls it with what is kept under the salvo's own key and what the history will tell, when there
// is such a salvo.
template <class call>
void change_salvo(store& store, const desk::entry& entry, std::string_view kind,
                  const desk::ulid& id, call change)
{
    json data = json::object();
    if (const std::optional<stored> kept = get(store, salvo_key(id))) {
        json salvo = json::parse(kept->value);
        data["name"] = salvo.at("name");
        change(salvo, data);
        set(store, salvo_key(id), json_text(salvo));
    }
    add_event(store, entry, {.kind = kind, .salvo = desk::text_of(id), .data = std::move(data)});
}

void keep(store& store, const desk::entry& entry, const desk::salvo_renamed& renamed)
{
    change_salvo(store, entry, SALVO_RENAMED, renamed.id, [&](json& salvo, json& data) {
        data = {{"name", renamed.name}, {"was", salvo["name"]}};
        salvo["name"] = renamed.name;
    });
}

void keep(store& store, const desk::entry& entry, const desk::salvo_deleted& deleted)
{
    change_salvo(store, entry, SALVO_DELETED, deleted.id,
                 [&](json& salvo, json&) { salvo["deleted"] = entry.at.count(); });
}

void keep(store& store, const desk::entry& entry, const desk::salvo_restored& restored)
{
    change_salvo(store, entry, SALVO_RESTORED, restored.id,
                 [](json& salvo, json&) { salvo.erase("deleted"); });
}

void keep(store& store, const desk::entry&, const desk::salvo_forgotten& forgotten)
{
    remove(store, salvo_key(forgotten.id));
    remove_all(store, salvo_key(forgotten.id) + "/");
}

std::optional<std::string> salvo_of(const desk::batch& batch)
{
    if (batch.kind != desk::batch_kind::salvo) return std::nullopt;
    return desk::text_of(batch.of);
}

void add_wish(store& store, const desk::entry& entry, const desk::batch& batch, std::int64_t number,
              std::uint32_t row)
{
    const desk::wish& wish = batch.rows[row];
    run(store.database,
        "INSERT INTO history(at, kind, person, origin, router, destination, source, was, batch,"
        " wish, salvo, outcome, why, detail, unchanged, sent_after, ended_after, accepted)"
        " VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, 0)",
        entry.at.count(), std::string(word_of(BATCH_KINDS, batch.kind)), batch.person, batch.origin,
        wish.wished.router, wish.wished.destination, wish.wished.source, wish.was, number, row,
        salvo_of(batch), std::string(word_of(OUTCOMES, wish.end)), word_of_reason(wish.why),
        wish.detail, wish.unchanged, count_of(wish.sent_after), count_of(wish.ended_after));
}

void keep(store& store, const desk::entry& entry, const desk::batch_made& made)
{
    const desk::batch& batch = made.batch;
    std::optional<std::string> of;
    if (!batch.of.is_none()) of = desk::text_of(batch.of);
    const int added =
        run(store.database,
            "INSERT INTO batches(id, kind, rule, person, origin, reason, made, of, salvo_version,"
            " wishes) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT DO NOTHING",
            desk::text_of(made.id), std::string(word_of(BATCH_KINDS, batch.kind)),
            std::string(word_of(BATCH_RULES, batch.rule)), batch.person, batch.origin,
            batch.reason_given, batch.made.count(), of, batch.salvo_version,
            static_cast<std::int64_t>(batch.rows.size()));
    if (added == 0) return;
    const std::int64_t number = number_of(store, made.id).value();
    for (std::uint32_t row = 0; row < batch.rows.size(); ++row)
        add_wish(store, entry, batch, number, row);
}

std::optional<int> known_source(int source)
{
    if (source == desk::UNKNOWN_SOURCE) return std::nullopt;
    return source;
}

std::optional<std::string> text_of(const desk::doings& doings)
{
    if (doings == desk::doings{}) return std::nullopt;
    return doings_object(doings).dump();
}

void keep(store& store, const desk::entry&, const desk::wish_ended& ended)
{
    const auto batch = number_of(store, ended.id.batch);
    if (!batch ||
        run(store.database,
            "UPDATE history SET outcome = ?, why = ?, detail = ?, sent_after = ?,"
            " answered_after = ?, ended_after = ?, was = coalesce(?, was), doings = ?"
            " WHERE batch = ? AND wish = ? AND outcome = 'open'",
            std::string(word_of(OUTCOMES, ended.end)), word_of_reason(ended.why), ended.detail,
            count_of(ended.sent_after), count_of(ended.answered_after), ended.ended_after.count(),
            known_source(ended.was), text_of(ended.doings), *batch, ended.id.row) == 0)
        return;
    if (ended.end == desk::outcome::confirmed) set_author(store, *batch, ended.id, ended.since);
}

void keep(store& store, const desk::entry&, const desk::confirmed_late& late)
{
    const auto batch = number_of(store, late.id.batch);
    if (!batch) return;
    run(store.database,
        "UPDATE history SET confirmed_late_after = ?, was = coalesce(?, was), doings = ?"
        " WHERE batch = ? AND wish = ?",
        late.after.count(), known_source(late.was), text_of(late.doings), *batch, late.id.row);
    set_author(store, *batch, late.id, late.since);
}

void keep(store& store, const desk::entry&, const desk::wish_found& found)
{
    run(store.database, "UPDATE history SET found = ?, detail = ? WHERE batch = ? AND wish = ?",
        found.source, found.detail, number_of(store, found.id.batch), found.id.row);
}

void keep(store& store, const desk::entry& entry, const desk::wish_accepted& accepted)
{
    const auto batch = number_of(store, accepted.id.batch);
    run(store.database, "UPDATE history SET accepted = 1 WHERE batch = ? AND wish = ?", batch,
        accepted.id.row);
    run(store.database,
        "INSERT INTO history(at, kind, person, origin, router, destination, batch)"
        " SELECT ?, ?, ?, ?, router, destination, batch FROM history"
        " WHERE batch = ? AND wish = ?",
        entry.at.count(), std::string(OUTCOME_ACCEPTED), entry.person, entry.origin, batch,
        accepted.id.row);
}

void keep(store& store, const desk::entry& entry, const desk::outside_change& change)
{
    run(store.database,
        "INSERT OR REPLACE INTO authors SELECT ?1, ?2, ?3, NULL, NULL, '', ?4"
        " WHERE EXISTS (SELECT 1 FROM kv WHERE key = 'routers/' || ?1)",
        change.router, change.destination, change.source, count_of(change.since));
    add_event(store, entry,
              {.kind = OUTSIDE_CHANGE,
               .router = change.router,
               .destination = change.destination,
               .source = change.source,
               .was = change.was});
}

void keep(store& store, const desk::entry&, const desk::author_forgotten& forgotten)
{
    run(store.database, "DELETE FROM authors WHERE router = ? AND destination = ?",
        forgotten.router, forgotten.destination);
}
} // namespace

void keep_wish(store& store, const desk::wish_id& id, const desk::wish& wish)
{
    run(store.database,
        "UPDATE history SET was = ?, outcome = ?, why = ?, detail = ?, sent_after = ?,"
        " answered_after = ?, ended_after = ?, confirmed_late_after = ?, found = ?, accepted = ?,"
        " doings = ? WHERE batch = ? AND wish = ?",
        wish.was, std::string(word_of(OUTCOMES, wish.end)), word_of_reason(wish.why), wish.detail,
        count_of(wish.sent_after), count_of(wish.answered_after), count_of(wish.ended_after),
        count_of(wish.confirmed_late_after), wish.found, wish.accepted, text_of(wish.doings),
        number_of(store, id.batch), id.row);
}

void keep_entry(store& store, const desk::entry& entry)
{
    std::visit([&](const auto& what) { keep(store, entry, what); }, entry.what);
}

void keep_note(store& store, const note& note)
{
    for (const std::string& prefix : note.whole)
        for (const stored& each : list(store, prefix))
            if (!note.keys.contains(each.key)) remove(store, each.key);
    for (const auto& [key, value] : note.keys)
        if (value)
            set(store, key, *value);
        else
            remove(store, key);
    if (note.kind.empty()) return;
    std::optional<std::string> data;
    if (!note.data.empty()) data = note.data;
    run(store.database, "INSERT INTO history(at, kind, person, origin, data) VALUES(?, ?, ?, ?, ?)",
        note.at.count(), note.kind, note.person, note.origin, data);
}

} // namespace journal
