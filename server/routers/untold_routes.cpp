#include "server/routers/untold_routes.h"

namespace routers {

void note_told(untold_routes& untold, desk::monotonic now, int destination, int source)
{
    const auto [place, is_new] = untold.routes.try_emplace(destination, untold_route{source, now});
    if (!is_new && place->second.source != source) place->second = {source, now};
    untold.unanswered.erase(destination);
    if (!untold.due) untold.due = now + REPORT_LIMIT;
}

void note_unanswered(untold_routes& untold, desk::monotonic now, int destination)
{
    untold.unanswered.try_emplace(destination, now + REPORT_LIMIT);
    if (!untold.due) untold.due = now + REPORT_LIMIT;
}

void note_reported(untold_routes& untold, const std::vector<std::pair<int, int>>& routes)
{
    for (const auto& [destination, source] : routes) {
        const auto told = untold.routes.find(destination);
        if (told != untold.routes.end() && told->second.source == source) untold.routes.erase(told);
    }
}

std::vector<std::pair<int, int>> take_overdue(untold_routes& untold, desk::monotonic now)
{
    std::vector<std::pair<int, int>> overdue;
    if (!untold.due || now < *untold.due) return overdue;
    for (auto route = untold.routes.begin(); route != untold.routes.end();) {
        const auto [source, since] = route->second;
        if (now < since + REPORT_LIMIT) {
            ++route;
            continue;
        }
        overdue.emplace_back(route->first, source);
        route = untold.routes.erase(route);
    }
    for (auto& [destination, at] : untold.unanswered) {
        if (now < at) continue;
        overdue.emplace_back(destination, desk::UNKNOWN_SOURCE);
        at = now + ASK_AGAIN;
    }
    untold.due.reset();
    if (!untold.routes.empty() || !untold.unanswered.empty()) untold.due = now + REPORT_LIMIT;
    return overdue;
}

} // namespace routers
