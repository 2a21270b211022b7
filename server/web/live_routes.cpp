#include "server/web/live_routes.h"

#include "server/web/call.h"

namespace web {

namespace {
// Null: nobody's here. None: not known.
std::optional<json> taker(const server& server, const desk::authorship* author)
{
    if (author == nullptr) return {};
    if (!author->by) return json(nullptr);
    return person_json(server, author->person);
}

std::int64_t since(const desk::fact& fact)
{
    return fact.changed && fact.source != desk::UNKNOWN_SOURCE ? fact.changed->count() : 0;
}
} // namespace

std::set<int> stale_destinations(const desk::live_router& live)
{
    std::set<int> stale;
    for (int i = 0; i < static_cast<int>(live.facts.size()); ++i)
        if (desk::source_shown(live, i) != desk::UNKNOWN_SOURCE && !desk::is_fresh(live, i))
            stale.insert(i);
    return stale;
}

json live_routes(const server& server, const std::string& router)
{
    const desk::live_router& live = *desk::find_live(server.desk, router);
    json sources = json::array();
    json times = json::array();
    json by = json::object();
    for (int i = 0; i < static_cast<int>(live.facts.size()); ++i) {
        const desk::authorship* const author = desk::author_shown(server.desk, router, i);
        sources.push_back(desk::source_shown(live, i));
        times.push_back(since(live.facts[static_cast<std::size_t>(i)]));
        if (auto who = taker(server, author)) by[std::to_string(i)] = std::move(*who);
    }
    return {
        {"sources", sources}, {"times", times}, {"stale", stale_destinations(live)}, {"by", by}};
}

json live_route(const server& server, const std::string& router, int destination)
{
    const desk::authorship* const author = desk::author_shown(server.desk, router, destination);
    const desk::live_router& live = *desk::find_live(server.desk, router);
    return json::array({destination, desk::source_shown(live, destination),
                        since(live.facts[static_cast<std::size_t>(destination)]),
                        taker(server, author).value_or("unknown")});
}

} // namespace web
