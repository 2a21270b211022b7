#include "unit/desk/model_router.h"

#include "server/desk/reports.h"
#include "server/desk/trace.h"

using namespace desk;

namespace model {

namespace {
// A take of what stands there already leaves the others' takes counting.
void put(shown& place, int source, const std::optional<wish_id>& by)
{
    if (place.source != source) place.by.clear();
    place.source = source;
    if (by) place.by.insert(*by);
}
} // namespace

router make_router(const std::string& id, int outputs)
{
    router made;
    made.id = id;
    made.routes.resize(static_cast<std::size_t>(outputs));
    return made;
}

void begin_burst(router& router)
{
    if (!router.up || !router.burst.empty()) return;
    for (const auto& [destination, change] : router.pending)
        router.burst.push_back(change);
    router.pending.clear();
}

std::optional<sending> send_next(desk_state& desk, const moment& now, router& router)
{
    if (!router.up || router.burst.empty()) return std::nullopt;
    const sending next = router.burst.front();
    router.burst.pop_front();
    router.requests.push_back({true, next});
    if (router.told) trace_take(desk, now, router.id, next.destination, next.source);
    send_query(desk, router, next.destination);
    return next;
}

void send_query(desk_state& desk, router& router, int destination)
{
    if (!router.up) return;
    router.requests.push_back({false, {destination, 0, {}}});
    if (router.told) trace_query(desk, router.id, destination);
}

void drop_pending(router& router)
{
    router.pending.clear();
}

void answer_next(router& router)
{
    if (router.requests.empty()) return;
    const request next = router.requests.front();
    router.requests.pop_front();
    if (router.manner == manner::is_mute) return;
    const auto destination = static_cast<std::size_t>(next.sent.destination);
    if (destination >= router.routes.size()) return;
    shown& place = router.routes[destination];
    if (!next.is_take) {
        router.replies.push_back({reply::kind::route, next.sent.destination, place});
        return;
    }
    const bool refused = router.manner == manner::refuses;
    if (router.manner == manner::answers) put(place, next.sent.source, next.sent.by);
    router.replies.push_back({refused ? reply::kind::refused : reply::kind::acknowledged, 0, {}});
}

void change_from_outside(router& router, int destination, int source, bool says_so)
{
    shown& place = router.routes[static_cast<std::size_t>(destination)];
    if (place.source == source) return;
    put(place, source, std::nullopt);
    if (says_so && router.up) router.replies.push_back({reply::kind::route, destination, place});
}

std::vector<reply> hear_next(desk_state& desk, const moment& now, router& router)
{
    if (router.replies.empty()) return {};
    const reply next = router.replies.front();
    router.replies.pop_front();
    if (next.what != reply::kind::route) {
        if (router.told)
            trace_take_answer(desk, now, router.id,
                              next.what == reply::kind::refused ? "NAK 0005" : "");
        return {};
    }
    const bool disconnected = next.now.source == NO_SOURCE; // which a backend passes over
    if (router.told) {
        trace_route(desk, now, router.id, next.destination, next.now.source);
        for (reply& waiting : router.to_report)
            if (waiting.destination == next.destination) waiting.overtaken = disconnected;
    }
    if (!disconnected) router.to_report.push_back(next);
    if (disconnected && router.told) return {next};
    return {};
}

void lose_trace(desk_state& desk, router& router)
{
    trace_lost(desk, router.id);
    for (reply& waiting : router.to_report)
        waiting.overtaken = false;
}

std::vector<reply> report(desk_state& desk, const moment& now, router& router, std::size_t most)
{
    std::vector<reply> said;
    std::vector<std::pair<int, int>> routes;
    while (!router.to_report.empty() && routes.size() < most) {
        const reply& next = router.to_report.front();
        routes.emplace_back(next.destination, next.now.source);
        if (!next.overtaken) said.push_back(next);
        router.to_report.pop_front();
    }
    if (!routes.empty()) report_routes(desk, now, router.id, routes);
    return said;
}

void cut(router& router)
{
    router.up = false;
    router.burst.clear();
    router.requests.clear();
    router.replies.clear();
}

void ended(desk_state& desk, const moment& now, router& router)
{
    cut(router);
    router.pending.clear();
    router.to_report.clear();
    report_backend_ended(desk, now, router.id);
}

} // namespace model
