#include "server/web/live_router_data.h"

#include "server/web/live_routes.h"
#include "server/web/lock_json.h"
#include "server/web/name_json.h"
#include "server/web/position.h"
#include "server/web/route_json.h"
#include "server/web/router_json.h"
#include "server/web/stage_json.h"

namespace web {

namespace {
using kind = live_thing::kind;

json wish_change(const server& server, const std::string& router, int destination)
{
    return {{"kind", "wish"},
            {"destination", destination},
            {"wish", wish_json(server, router, destination)}};
}

json problem_change(const server& server, const std::string& router, int destination)
{
    return {{"kind", "problem"},
            {"destination", destination},
            {"problem", route_problem_json(server, router, destination)}};
}

json lock_change(const server& server, const std::string& router, int destination)
{
    const desk::lock* const lock = find_lock(server, router, destination);
    return {{"kind", "lock"},
            {"destination", destination},
            {"lock", lock == nullptr ? json() : lock_json(server, router, destination, *lock)}};
}

// `all` and `one` are the things that tell of this side. Null when none of them is there.
json names_change(const server& server, const std::string& router, desk::side side,
                  const std::vector<live_thing>& things, kind all, kind one)
{
    const int count = all_positions(server.desk, router, side);
    bool whole = false;
    std::vector<int> positions;
    for (const live_thing& each : things) {
        whole = whole || each.what == all;
        if (each.what == one && each.position < count) positions.push_back(each.position);
    }
    if (!whole && positions.empty()) return {};
    const json names = whole ? names_json(server.desk, router, side)
                             : names_json(server.desk, router, side, positions);
    return {{"kind", word_of(side)}, {"count", count}, {"rows", names[word_of(side)]}};
}

// What is told of one thing alone; null of the others.
json single_change(const server& server, const std::string& router, const live_thing& thing)
{
    if (thing.what == kind::router)
        return {{"kind", "router"}, {"router", router_json(server, router)}};
    if (thing.what == kind::stale)
        return {{"kind", "stale"},
                {"destinations", stale_destinations(*desk::find_live(server.desk, router))}};
    if (thing.what == kind::wish) return wish_change(server, router, thing.position);
    if (thing.what == kind::problem) return problem_change(server, router, thing.position);
    if (thing.what == kind::lock) return lock_change(server, router, thing.position);
    if (thing.what == kind::staged)
        return {{"kind", "staged"}, {"staged", staged_json(server, router, thing.id)}};
    return {};
}
} // namespace

json router_data(const server& server, const std::string& router)
{
    const desk::live_router& live = *desk::find_live(server.desk, router);
    json wishes = json::array();
    for (const auto& [destination, open] : live.open)
        wishes.push_back(wish_change(server, router, destination));
    json problems = json::array();
    for (const auto& [destination, troubled] : live.troubled)
        problems.push_back(problem_change(server, router, destination));
    using desk::side;
    return {{"router", router_json(server, router)},
            {"sources", names_json(server.desk, router, side::sources)["sources"]},
            {"destinations", names_json(server.desk, router, side::destinations)["destinations"]},
            {"routes", live_routes(server, router)},
            {"wishes", std::move(wishes)},
            {"problems", std::move(problems)},
            {"locks", locks_json(server, router)["locks"]},
            {"stages", stages_json(server, router)["stages"]}};
}

json router_changes(const server& server, const std::string& router,
                    const std::vector<live_thing>& things)
{
    json changes = json::array();
    json routes = json::array();
    const auto add = [&](json&& change) {
        if (!change.is_null()) changes.push_back(std::move(change));
    };
    add(names_change(server, router, desk::side::sources, things, kind::sources, kind::source));
    add(names_change(server, router, desk::side::destinations, things, kind::destinations,
                     kind::destination));
    for (const live_thing& each : things) {
        if (each.what == kind::route)
            routes.push_back(live_route(server, router, each.position));
        else
            add(single_change(server, router, each));
    }
    if (!routes.empty()) changes.push_back({{"kind", "routes"}, {"routes", std::move(routes)}});
    return changes;
}

} // namespace web
