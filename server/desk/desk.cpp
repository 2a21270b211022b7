#include "server/desk/desk.h"

#include <algorithm>

namespace desk {

const house_router* find_router(const desk_state& desk, const std::string& router)
{
    const auto found = desk.house.routers.find(router);
    return found == desk.house.routers.end() ? nullptr : &found->second;
}

const live_router* find_live(const desk_state& desk, const std::string& router)
{
    const auto found = desk.live.find(router);
    return found == desk.live.end() ? nullptr : &found->second;
}

bool is_fresh(const live_router& router, int destination)
{
    const auto position = static_cast<std::size_t>(destination);
    return router.link == link_state::ready && position < router.facts.size() &&
           router.facts[position].connection == router.connection;
}

std::size_t count_waiting(const live_router& router)
{
    std::size_t waiting = 0;
    for (const auto& [destination, open] : router.open)
        for (const open_wish& wish : open)
            if (wish.state != wish_state::sent) ++waiting;
    return waiting;
}

std::optional<wall> stale_since(const live_router& router)
{
    const auto end = router.facts.begin() + router.outputs; // as many as there are at least
    const bool any = std::any_of(router.facts.begin(), end, [&](const fact& fact) {
        return fact.connection != 0 &&
               (router.link != link_state::ready || fact.connection != router.connection);
    });
    return any ? router.link_lost : std::nullopt;
}

int source_shown(const live_router& router, int destination)
{
    const auto position = static_cast<std::size_t>(destination);
    return position < router.facts.size() ? router.facts[position].source : UNKNOWN_SOURCE;
}

const authorship* author_shown(const desk_state& desk, const std::string& router, int destination)
{
    const authorship* const author = find_author(desk.house, router, destination);
    if (author == nullptr) return nullptr;
    const auto& facts = find_live(desk, router)->facts;
    const auto position = static_cast<std::size_t>(destination);
    const bool stands = position < facts.size() && author->source == facts[position].source &&
                        author->since == facts[position].changed;
    return stands ? author : nullptr;
}

} // namespace desk
