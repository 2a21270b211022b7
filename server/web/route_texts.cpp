#include "server/web/route_texts.h"

#include "server/web/position.h"
#include "server/web/route_json.h"

namespace web {

namespace {
using change = desk::change::kind;

bool concerns_one(change what)
{
    return what == change::fact || what == change::lock || what == change::wish;
}

bool concerns_all(change what)
{
    return what == change::settings || what == change::link || what == change::names ||
           what == change::labels;
}

void forget(route_texts& kept)
{
    for (std::string& text : kept.texts)
        text.clear();
    kept.whole.clear();
}

void note(server& server, const desk::change& each)
{
    if (each.what == change::removed) server.route_texts.erase(each.router);
    if (!concerns_one(each.what) && !concerns_all(each.what)) return;
    route_texts& kept = server.route_texts[each.router];
    if (concerns_all(each.what)) {
        kept.all_changed = each.revision;
        forget(kept);
        return;
    }
    const auto position = static_cast<std::size_t>(each.position);
    if (position >= kept.changed.size()) kept.changed.resize(position + 1);
    kept.changed[position] = each.revision;
    if (position < kept.texts.size()) kept.texts[position].clear();
}

// As they are now, with all texts that have been written and are true.
route_texts& present_texts(server& server, const std::string& router)
{
    note_route_changes(server);
    route_texts& kept = server.route_texts[router];
    if (kept.people_set != server.accounts.people_set) {
        kept.people_set = server.accounts.people_set;
        forget(kept);
    }
    return kept;
}

const std::string& text_at(server& server, route_texts& kept, const std::string& router,
                           std::size_t destination)
{
    if (destination >= kept.texts.size()) kept.texts.resize(destination + 1);
    std::string& text = kept.texts[destination];
    if (text.empty()) text = text_of(route_json(server, router, static_cast<int>(destination)));
    return text;
}

// Up to the array's first element.
std::string head_of(const server& server, const std::string& router, bool complete)
{
    const desk::live_router& live = *find_live(server.desk, router);
    json head = {{"router", router},
                 {"instance", desk::text_of(server.instance)},
                 {"revision", live.revision},
                 {"complete", complete}};
    std::string text = text_of(head);
    text.pop_back();
    return text + ",\"routes\":[";
}

// Those changed after `since`.
std::string routes_text(server& server, route_texts& kept, const std::string& router,
                        std::optional<std::uint64_t> since)
{
    const int count = routable_positions(server.desk, router, desk::side::destinations);
    kept.changed.resize(std::max(kept.changed.size(), static_cast<std::size_t>(count)));
    std::string text = head_of(server, router, !since);
    bool first = true;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        if (since && kept.changed[i] <= *since) continue;
        if (!first) text += ',';
        first = false;
        text += text_at(server, kept, router, i);
    }
    return text + "]}";
}
} // namespace

void note_route_changes(server& server)
{
    for (const desk::change& each : server.desk.changes)
        note(server, each);
}

const std::string& route_text(server& server, const std::string& router, int destination)
{
    return text_at(server, present_texts(server, router), router,
                   static_cast<std::size_t>(destination));
}

response routes_response(server& server, const std::string& router,
                         std::optional<std::uint64_t> since)
{
    route_texts& kept = present_texts(server, router);
    const std::uint64_t revision = find_live(server.desk, router)->revision;
    if (since && *since >= kept.all_changed && *since <= revision)
        return {200, "application/json", routes_text(server, kept, router, since), {}};
    if (kept.whole.empty() || kept.revision != revision) {
        kept.whole = routes_text(server, kept, router, {});
        kept.revision = revision;
    }
    const std::string tag = "\"" + desk::text_of(server.instance) + "-" + std::to_string(revision) +
                            "-" + std::to_string(kept.people_set) + "\"";
    return {200, "application/json", kept.whole, {{"ETag", tag}}};
}

} // namespace web
