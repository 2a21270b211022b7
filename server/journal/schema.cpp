#include "server/journal/schema.h"

#include <array>
#include <string>

namespace journal {

namespace {
// Times are milliseconds since 1970 in UTC, durations microseconds since the batch was made.
// Sources and destinations are positions from 0; in place of a source -1 is none, -2 unknown.
constexpr std::array STEPS = {R"sql(
CREATE TABLE kv(
    key TEXT PRIMARY KEY,
    value TEXT NOT NULL, -- JSON
    create_rev INTEGER NOT NULL,
    mod_rev INTEGER NOT NULL
) WITHOUT ROWID;
CREATE TABLE revision(number INTEGER NOT NULL); -- of kv: one row
INSERT INTO revision VALUES(0);

CREATE TABLE batches(
    number INTEGER PRIMARY KEY,
    id TEXT NOT NULL UNIQUE, -- in the order of their making
    kind TEXT NOT NULL,
    rule TEXT NOT NULL,
    person TEXT NOT NULL,
    origin TEXT NOT NULL,
    reason TEXT NOT NULL,
    made INTEGER NOT NULL,
    of TEXT, -- the salvo that was run, or the batch that was rolled back, undone
    salvo_version INTEGER NOT NULL,
    wishes INTEGER NOT NULL -- how many it was made with
);
CREATE INDEX batches_by_person ON batches(person, id);

-- Everything that has happened: a row for each wish, which is told its end later, and for each other
-- event.
CREATE TABLE history(
    id INTEGER PRIMARY KEY,
    at INTEGER NOT NULL,
    kind TEXT NOT NULL,
    person TEXT NOT NULL, -- empty: nobody's doing
    origin TEXT NOT NULL,
    router TEXT,
    destination INTEGER,
    source INTEGER,
    was INTEGER,
    batch INTEGER REFERENCES batches(number),
    wish INTEGER, -- its row in the batch; NULL of other events
    salvo TEXT, -- that was run, saved or deleted
    outcome TEXT,
    why TEXT,
    detail TEXT,
    unchanged INTEGER,
    sent_after INTEGER,
    answered_after INTEGER,
    ended_after INTEGER,
    confirmed_late_after INTEGER,
    found INTEGER,
    accepted INTEGER,
    doings TEXT, -- JSON; NULL: none
    data TEXT -- of other events, JSON
);
CREATE UNIQUE INDEX history_by_batch ON history(batch, wish) WHERE batch IS NOT NULL;
CREATE INDEX history_by_salvo ON history(salvo, at) WHERE salvo IS NOT NULL;
CREATE INDEX history_by_time ON history(at);
CREATE INDEX history_by_router ON history(router, at);
CREATE INDEX history_by_destination ON history(router, destination, at);
CREATE INDEX history_by_person ON history(person, at);
CREATE INDEX history_by_origin ON history(origin, at);
CREATE INDEX history_by_kind ON history(kind, at);
CREATE INDEX history_by_outcome ON history(outcome, at) WHERE outcome IS NOT NULL;

CREATE TABLE authors(
    router TEXT NOT NULL,
    destination INTEGER NOT NULL,
    source INTEGER NOT NULL,
    batch TEXT, -- NULL: outside
    wish INTEGER,
    person TEXT NOT NULL, -- empty: outside
    since INTEGER, -- when it was heard first; NULL: that is not known
    PRIMARY KEY(router, destination)
) WITHOUT ROWID;
)sql"};
} // namespace

const std::span<const char* const> SCHEMA_STEPS = STEPS;

void migrate(SQLite::Database& file, std::span<const char* const> steps,
             const std::function<void(int)>& before)
{
    for (auto version = static_cast<std::size_t>(version_of(file)); version < steps.size();
         ++version) {
        if (version > 0) before(static_cast<int>(version));
        SQLite::Transaction step(file);
        file.exec(steps[version]);
        file.exec("PRAGMA user_version = " + std::to_string(version + 1));
        step.commit();
    }
}

int version_of(SQLite::Database& file)
{
    return file.execAndGet("PRAGMA user_version").getInt();
}

} // namespace journal
