// How fast and how well a router confirms.
#include "server/desk/statistics.h"

#include <algorithm>

#include "server/web/handlers.h"
#include "server/web/position.h"
#include "server/web/router_json.h"

namespace web {

namespace {
using minutes = std::chrono::duration<std::int64_t, std::ratio<60>>;

json period_json(const desk::figures& figures)
{
    json of = {{"confirmed", figures.confirmed},
               {"contradicted", figures.contradicted},
               {"refused", figures.refused},
               {"timedOut", figures.timed_out},
               {"notSent", figures.not_sent}};
    for (const auto& [name, share] : {std::pair("medianMs", 0.5), {"p95Ms", 0.95}, {"p99Ms", 0.99}})
        if (const auto time = desk::time_of_share(figures, share)) of[name] = milliseconds(*time);
    if (!figures.times.empty()) of["slowestMs"] = milliseconds(figures.slowest);
    of["linkLosses"] = figures.link_losses;
    return of;
}

json minute_json(std::int64_t minute, const desk::figures& figures)
{
    const std::uint64_t failed = desk::failures(figures);
    json of = {{"start", time_text(minutes(minute))},
               {"takes", figures.confirmed + failed},
               {"failures", failed}};
    if (!figures.times.empty()) of["slowestMs"] = milliseconds(figures.slowest);
    return of;
}

json minutes_json(const desk::statistics& statistics, desk::wall started, desk::wall now)
{
    const std::int64_t last = std::chrono::floor<minutes>(now).count();
    const std::int64_t first =
        std::max(std::chrono::floor<minutes>(started).count(), last - desk::MINUTES_KEPT + 1);
    json list = json::array();
    for (std::int64_t minute = first; minute <= last; ++minute) {
        const auto found = statistics.minutes.find(minute);
        list.push_back(minute_json(minute, found == statistics.minutes.end() ? desk::figures{}
                                                                             : found->second));
    }
    return list;
}
} // namespace

answer get_statistics(server& server, const call& call)
{
    problem wrong;
    const desk::house_router* const router = find_router(server, call, wrong);
    if (router == nullptr) return wrong;
    const std::string& id = router->settings.id;
    const desk::live_router& live = *desk::find_live(server.desk, id);
    const routers::backend* const backend = find_backend(server, id);
    const desk::wall now = call.now.utc;
    return json_response({{"router", id},
                          {"lastHour", period_json(desk::of_last_hour(live.statistics, now))},
                          {"lastDay", period_json(desk::of_last_day(live.statistics, now))},
                          {"minutes", minutes_json(live.statistics, server.started.utc, now)},
                          {"backendStarts", backend == nullptr ? 0 : backend->starts},
                          {"waiting", desk::count_waiting(live)},
                          {"mostWaiting", live.statistics.most_waiting}});
}

} // namespace web
