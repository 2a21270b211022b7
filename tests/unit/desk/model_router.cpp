#include "unit/desk/model_router.h"

#include <algorithm>

#include "server/desk/reports.h"
#include "server/desk/trace.h"

using namespace desk;

namespace model {

namespace {
// A take of what stands there already leaves the others' takes counting.
void put(shown& place, int source, const std::optional<wish_id>& by)
{
    if (place.source != source) place = {source, {}, !by};
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

reply reply_of(const router& router, int destination)
{
    return {reply::kind::route, destination, router.routes[static_cast<std::size_t>(destination)],
            router.served};
}

bool is_awaited(const router& router, int destination)
{
    const auto asks = [&](const request& one) {
        return !one.is_take && one.sent.destination == destination;
    };
    const auto answers = [&](const reply& one) {
        return one.what == reply::kind::route && one.asked && one.destination == destination;
    };
    return std::any_of(router.requests.begin(), router.requests.end(), asks) ||
           std::any_of(std::next(router.replies.begin()), router.replies.end(), answers);
}

std::optional<service> answer_next(router& router)
{
    if (router.requests.empty()) return std::nullopt;
    const request next = router.requests.front();
    router.requests.pop_front();
    const auto destination = static_cast<std::size_t>(next.sent.destination);
    const bool exists = destination < router.routes.size();
    std::optional<service> served;
    if (next.is_take) {
        ++router.served;
        served = {next.sent.by, exists ? router.routes[destination].source : UNKNOWN_SOURCE};
    }
    if (router.manner == manner::is_mute || !exists) return served;
    shown& place = router.routes[destination];
    if (!next.is_take) {
        router.replies.push_back(reply_of(router, next.sent.destination));
        return served;
    }
    const bool refused = router.manner == manner::refuses;
    if (router.manner == manner::answers) put(place, next.sent.source, next.sent.by);
    router.replies.push_back({refused ? reply::kind::refused : reply::kind::acknowledged, 0, {}});
    return served;
}

bool overtake(router& router, int destination)
{
    const auto shows_it = [&](const reply& one) {
        return one.what == reply::kind::route && one.destination == destination;
    };
    std::deque<reply>& replies = router.replies;
    const auto one = std::find_if(replies.begin(), replies.end(), shows_it);
    if (one == replies.end()) return false;
    const auto other = std::find_if(std::next(one), replies.end(), shows_it);
    if (other == replies.end()) return false;
    std::iter_swap(one, other);
    return true;
}

void change_from_outside(router& router, int destination, int source, bool says_so)
{
    shown& place = router.routes[static_cast<std::size_t>(destination)];
    if (place.source == source) return;
    put(place, source, std::nullopt);
    if (!says_so || !router.up) return;
    router.replies.push_back(reply_of(router, destination));
    router.replies.back().asked = false;
}

namespace {
// Those that wait to be reported, when they say what was reported last and nothing else.
std::vector<reply> known_already(const router& router, int destination)
{
    std::vector<reply> known;
    const auto reported = router.reported.find(destination);
    for (const reply& waiting : router.to_report) {
        if (waiting.destination != destination) continue;
        if (reported == router.reported.end() || waiting.now.source != reported->second) return {};
        known.push_back(waiting);
    }
    return known;
}
} // namespace

std::vector<reply> hear_next(desk_state& desk, const moment& now, router& router)
{
    if (router.replies.empty()) return {};
    reply next = router.replies.front();
    next.heard = now.steady;
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
        const auto since = router.since_none.find(next.destination);
        if (since != router.since_none.end()) since->second.insert(next.now.source);
        if (disconnected) router.since_none[next.destination].clear();
    }
    if (!disconnected) router.to_report.push_back(next);
    if (!router.told) return {};
    if (!disconnected) return known_already(router, next.destination);
    router.reported[next.destination] = NO_SOURCE;
    return {next};
}

namespace {
// By destination the last, after all that is reported as one with it.
std::map<int, reply> next_report(router& router, std::size_t most)
{
    std::map<int, reply> merged;
    for (std::size_t count = std::min(most, router.to_report.size()); count > 0; --count) {
        reply next = router.to_report.front();
        router.to_report.pop_front();
        const auto [place, is_first] = merged.try_emplace(next.destination, next);
        if (is_first) continue;
        next.comes_back = place->second.comes_back || place->second.now.source != next.now.source;
        place->second = next;
    }
    return merged;
}
} // namespace

std::vector<reply> report(desk_state& desk, const moment& now, router& router, std::size_t most)
{
    std::vector<reply> said;
    std::vector<std::pair<int, int>> routes;
    for (const auto& [destination, next] : next_report(router, most)) {
        routes.emplace_back(destination, next.now.source);
        const auto since = router.since_none.find(destination);
        if (since == router.since_none.end() || since->second.contains(next.now.source)) {
            if (since != router.since_none.end()) router.since_none.erase(since);
            router.reported[destination] = next.now.source;
            said.push_back(next);
        }
        for (const reply& waiting : known_already(router, destination))
            said.push_back(waiting);
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

void ended(desk_state& desk, const moment& now, router& router, bool heard_all)
{
    cut(router);
    router.pending.clear();
    router.to_report.clear();
    router.reported.clear();
    router.since_none.clear();
    report_backend_ended(desk, now, router.id, heard_all);
}

} // namespace model
