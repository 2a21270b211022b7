#include "server/desk/unshown.h"

#include <algorithm>

namespace desk {

namespace {
// What a new connection tells first may have been done long ago.
bool is_over(const live_router& live, const moment& now, int destination, const unshown_take& take)
{
    const auto position = static_cast<std::size_t>(destination);
    return take.until < now.steady && position < live.facts.size() &&
           (live.facts[position].connection == live.connection ||
            live.facts[position].confirmed.steady > take.ended);
}
} // namespace

std::vector<int> unshown_takes(const live_router& live, const moment& now, int destination)
{
    std::vector<int> sources;
    const auto unshown = live.unshown_takes.find(destination);
    if (unshown == live.unshown_takes.end()) return sources;
    for (const unshown_take& take : unshown->second)
        if (!is_over(live, now, destination, take)) sources.push_back(take.source);
    return sources;
}

void note_unshown(live_router& live, const moment& now, int destination, const unshown_take& take)
{
    std::vector<unshown_take>& takes = live.unshown_takes[destination];
    std::erase_if(takes,
                  [&](const unshown_take& each) { return is_over(live, now, destination, each); });
    for (unshown_take& each : takes)
        if (each.source == take.source && each.connection == take.connection) {
            each.until = std::max(each.until, take.until);
            each.ended = take.ended;
            return;
        }
    if (takes.size() == TAKES_UNSHOWN) takes.erase(takes.begin());
    takes.push_back(take);
}

void forget_unshown(live_router& live, int destination, std::uint32_t connection,
                    std::optional<int> source)
{
    const auto unshown = live.unshown_takes.find(destination);
    if (unshown == live.unshown_takes.end()) return;
    std::erase_if(unshown->second, [&](const unshown_take& take) {
        return take.connection == connection && take.source == source.value_or(take.source);
    });
    if (unshown->second.empty()) live.unshown_takes.erase(unshown);
}

} // namespace desk
