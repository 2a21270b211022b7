#include "server/web/live_notes.h"

#include <set>
#include <utility>

#include "server/web/live_following.h"
#include "server/web/live_house_data.h"
#include "server/web/live_routes.h"
#include "server/web/route_texts.h"

namespace web {

namespace {
using thing_kind = live_thing::kind;
using topic_kind = live_topic::kind;
using change_kind = desk::change::kind;

// What is being noted of a router.
struct router_notes {
    web::server& server;
    const std::string& router;
    const desk::live_router& live;
    std::uint64_t revision = 0;
    followed_topic& topic;
};

void note(router_notes& notes, thing_kind what, int position = 0, const std::string& id = {})
{
    note_change(notes.topic.log, notes.revision, {what, position, id});
}

void note_router(router_notes& notes)
{
    note(notes, thing_kind::router);
    note_thing(notes.server, {topic_kind::routers, ""}, {thing_kind::router, 0, notes.router});
}

void note_stale(router_notes& notes)
{
    std::set<int> stale = stale_destinations(notes.live);
    if (stale == notes.topic.stale) return;
    notes.topic.stale = std::move(stale);
    note(notes, thing_kind::stale);
    note_router(notes); // since when something is
}

// As it is after the report of one fact.
void note_stale(router_notes& notes, int destination)
{
    const bool stale = desk::source_shown(notes.live, destination) != desk::UNKNOWN_SOURCE &&
                       !desk::is_fresh(notes.live, destination);
    if (stale != notes.topic.stale.contains(destination)) note_stale(notes);
}

void note_problem(router_notes& notes, int destination)
{
    const bool is_troubled = notes.live.troubled.contains(destination);
    const bool was_troubled = notes.topic.troubled.contains(destination);
    if (is_troubled || was_troubled) note(notes, thing_kind::problem, destination);
    if (is_troubled == was_troubled) return;
    if (is_troubled)
        notes.topic.troubled.insert(destination);
    else
        notes.topic.troubled.erase(destination);
    note_router(notes);
}

// A stage tells also what its destinations show, and what is in its way.
void note_stages(server& server, const std::string& router, std::optional<int> destination)
{
    for (const auto& [person, stages] : server.desk.stages) {
        const auto stage = stages.find(router);
        if (stage != stages.end() && (!destination || stage->second.contains(*destination)))
            note_thing(server, {topic_kind::me, person}, {thing_kind::stage, 0, router});
    }
}

void note_named_in_router(server& server, const std::string& router, const desk::live_router& live)
{
    const live_topic which{topic_kind::router, router};
    router_notes notes{server, router, live, live.revision, find_topic(server, which)};
    for (const auto& [destination, lock] : desk::find_router(server.desk, router)->locks)
        note(notes, thing_kind::lock, destination);
    for (const auto& [destination, open] : live.open)
        note(notes, thing_kind::wish, destination);
    for (const auto& [destination, troubled] : live.troubled)
        note(notes, thing_kind::problem, destination);
}

// What has names of the router's sources and destinations in it.
void note_named(server& server, const desk::moment& now, const std::string& router)
{
    if (const desk::live_router* const live = desk::find_live(server.desk, router))
        note_named_in_router(server, router, *live);
    note_stages(server, router, {});
    for (const auto& [id, notice] : server.desk.house.notices)
        if (notice.router == router)
            note_thing(server, {topic_kind::me, notice.person},
                       {thing_kind::notice, 0, desk::text_of(id)});
    for (const auto& [id, batch] : server.desk.house.batches)
        if (is_recent(batch, now))
            note_thing(server, {topic_kind::operations, ""},
                       {thing_kind::operation, 0, desk::text_of(id)});
}

// Which row of the batch that is. It goes on looking where it has found the last one, as rows
// mostly change in their order.
int row_of(const desk::batch& batch, const desk::change& change, std::size_t& from)
{
    const std::size_t rows = batch.rows.size();
    for (std::size_t i = 0; i < rows; ++i) {
        const std::size_t row = (from + i) % rows;
        const desk::route& wished = batch.rows[row].wished;
        if (wished.destination != change.position || wished.router != change.router) continue;
        from = row + 1;
        return static_cast<int>(row);
    }
    return -1;
}

void note_operation(server& server, const desk::change& change, std::size_t& from)
{
    const auto batch = server.desk.house.batches.find(change.id);
    if (batch == server.desk.house.batches.end()) return;
    const int row = row_of(batch->second, change, from);
    if (row >= 0)
        note_thing(server, {topic_kind::operations, ""},
                   {thing_kind::row, row, desk::text_of(change.id)});
}

void note_in_router(router_notes& notes, const desk::change& change)
{
    switch (change.what) {
    case change_kind::settings:
    case change_kind::names:
        note_router(notes);
        note(notes, thing_kind::sources);
        note(notes, thing_kind::destinations);
        note_stale(notes);
        break;
    case change_kind::link:
        note_router(notes);
        note_stale(notes);
        break;
    case change_kind::labels:
        note(notes, thing_kind::source, change.position);
        note(notes, thing_kind::destination, change.position);
        break;
    case change_kind::fact:
        note(notes, thing_kind::route, change.position);
        note_stale(notes, change.position);
        if (notes.live.link == desk::link_state::reading) note_router(notes); // how far
        break;
    case change_kind::lock:
        note(notes, thing_kind::lock, change.position);
        note_router(notes);
        break;
    case change_kind::wish:
        note(notes, thing_kind::wish, change.position);
        note_problem(notes, change.position);
        break;
    case change_kind::stage:
        note(notes, thing_kind::staged, 0, change.person);
        break;
    case change_kind::removed: // and made anew since: whatever was known of it is no more
        notes.topic.log = begin_log(change.revision);
        break;
    case change_kind::salvo:
    case change_kind::batch:
    case change_kind::routers:
    case change_kind::notice:
        break;
    }
    mark(notes.server, {topic_kind::router, notes.router}, notes.topic);
}

void note_of_router(server& server, const desk::change& change)
{
    const desk::live_router* const live = desk::find_live(server.desk, change.router);
    if (change.what == change_kind::removed)
        note_thing(server, {topic_kind::routers, ""}, {thing_kind::router, 0, change.router});
    if (live == nullptr) {
        for (const topic_kind what : {topic_kind::router, topic_kind::trace})
            if (server.live.topics.contains({what, change.router}))
                server.live.changed.insert({what, change.router});
        return;
    }
    followed_topic& topic = find_topic(server, {topic_kind::router, change.router});
    if (change.revision <= topic.log.revision) { // from before its log: of a router that is new
        note_thing(server, {topic_kind::routers, ""}, {thing_kind::router, 0, change.router});
        return;
    }
    router_notes notes{server, change.router, *live, change.revision, topic};
    note_in_router(notes, change);
}

void note_of_stages(server& server, const desk::change& change)
{
    if (change.what == change_kind::stage)
        note_thing(server, {topic_kind::me, change.person}, {thing_kind::stage, 0, change.router});
    if (change.what == change_kind::link) note_stages(server, change.router, {});
    if (change.what == change_kind::fact || change.what == change_kind::lock ||
        change.what == change_kind::wish)
        note_stages(server, change.router, change.position);
}

// Runs of it have its name.
void note_salvo(server& server, const desk::moment& now, const desk::ulid& salvo)
{
    const desk::house& house = server.desk.house;
    if (!house.salvos.contains(salvo) && !house.deleted_salvos.contains(salvo))
        return; // forgotten: that it was deleted has been told
    note_thing(server, {topic_kind::salvos, ""}, {thing_kind::salvo, 0, desk::text_of(salvo)});
    for (const auto& [id, batch] : house.batches)
        if (batch.of == salvo && is_recent(batch, now))
            note_thing(server, {topic_kind::operations, ""},
                       {thing_kind::operation, 0, desk::text_of(id)});
}

void note_of_house(server& server, const desk::moment& now, const desk::change& change)
{
    const std::string id = desk::text_of(change.id);
    if (change.what == change_kind::salvo) note_salvo(server, now, change.id);
    if (change.what == change_kind::batch)
        note_thing(server, {topic_kind::operations, ""}, {thing_kind::operation, 0, id});
    if (change.what == change_kind::notice)
        note_thing(server, {topic_kind::me, change.person}, {thing_kind::notice, 0, id});
}

// Routers to which nothing can be taken, though no change tells it: their links are made anew.
void note_endings(server& server)
{
    std::set<std::string> ending;
    for (const auto& [router, live] : server.desk.live)
        if (live.ending != desk::reason::none) ending.insert(router);
    std::swap(ending, server.live.ending_routers);
    for (const std::string& router : ending)
        if (!server.live.ending_routers.contains(router)) note_stages(server, router, {});
    for (const std::string& router : server.live.ending_routers)
        if (!ending.contains(router)) note_stages(server, router, {});
}

bool renames(change_kind what)
{
    return what == change_kind::settings || what == change_kind::names ||
           what == change_kind::labels || what == change_kind::removed;
}
} // namespace

void note_changes(server& server, const desk::moment& now)
{
    note_route_changes(server);
    std::set<std::string> renamed; // routers something of which has other names
    std::size_t row = 0;
    for (const desk::change& each : std::exchange(server.desk.changes, {})) {
        if (each.router.empty()) {
            note_of_house(server, now, each);
            continue;
        }
        note_of_router(server, each);
        note_of_stages(server, each);
        if (renames(each.what)) renamed.insert(each.router);
        if (each.what == change_kind::wish) note_operation(server, each, row);
    }
    for (const std::string& router : renamed)
        note_named(server, now, router);
    note_endings(server);
}

} // namespace web
