#include "server/desk/showings.h"

#include <algorithm>

namespace desk {

namespace {
// A newer one is still to be reported.
bool is_old(const showing& one, const moment& now)
{
    return one.heard + REPORT_AGE < now.steady;
}

void forget_old(live_router& live, const moment& now, int destination)
{
    const auto found = live.unreported.find(destination);
    if (found == live.unreported.end()) return;
    std::erase_if(found->second, [&](const showing& one) { return is_old(one, now); });
    if (found->second.empty()) live.unreported.erase(found);
}

std::vector<int> waiting_sources(const live_router& live, const moment& now, int destination)
{
    std::vector<int> sources;
    const auto found = live.unreported.find(destination);
    if (found == live.unreported.end()) return sources;
    for (const showing& one : found->second)
        if (!is_old(one, now)) sources.push_back(one.source);
    return sources;
}

reported_run untold(live_router& live, int source)
{
    ++live.showings;
    return {source, live.showings, live.showings, false};
}
} // namespace

showing note_showing(live_router& live, const moment& now, int destination, int source,
                     bool may_be_older)
{
    forget_old(live, now, destination);
    std::deque<showing>& unreported = live.unreported[destination];
    if (unreported.size() == SHOWINGS_UNREPORTED) unreported.pop_front();
    return unreported.emplace_back(showing{++live.showings, source, now.steady, may_be_older});
}

reported_run take_reported(live_router& live, const moment& now, const route& shown)
{
    forget_old(live, now, shown.destination);
    const auto found = live.unreported.find(shown.destination);
    if (found == live.unreported.end()) return untold(live, shown.source);
    std::deque<showing>& unreported = found->second;
    const auto is_of_it = [&](const showing& one) {
        return one.source == shown.source;
    };
    const auto first = std::find_if(unreported.begin(), unreported.end(), is_of_it);
    if (first == unreported.end()) return untold(live, shown.source);
    const auto last = std::prev(std::find_if_not(first, unreported.end(), is_of_it));
    reported_run reported{shown.source, first->number, last->number};
    reported.may_be_older =
        std::any_of(first, std::next(last), [](const showing& one) { return one.may_be_older; });
    unreported.erase(unreported.begin(), std::next(first));
    if (unreported.empty()) live.unreported.erase(found);
    return reported;
}

bool is_doubtful(const fact& fact, const moment& now)
{
    return fact.may_be_older && now.steady <= fact.confirmed.steady + LATE_LIMIT;
}

int source_told(const live_router& live, const moment& now, int destination)
{
    const std::vector<int> waiting = waiting_sources(live, now, destination);
    if (!waiting.empty()) return waiting.back();
    return is_fresh(live, destination) ? source_shown(live, destination) : UNKNOWN_SOURCE;
}

bool is_settled(const live_router& live, const moment& now, int destination, int source)
{
    const std::vector<int> waiting = waiting_sources(live, now, destination);
    return std::all_of(waiting.begin(), waiting.end(), [&](int one) { return one == source; });
}

bool has_come_back(const live_router& live, const moment& now, int destination, int source)
{
    const std::vector<int> waiting = waiting_sources(live, now, destination);
    const auto other =
        std::find_if(waiting.begin(), waiting.end(), [&](int one) { return one != source; });
    return std::find(other, waiting.end(), source) != waiting.end();
}

} // namespace desk
