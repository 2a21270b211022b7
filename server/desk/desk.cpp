#include "server/desk/desk.h"

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

int source_shown(const live_router& router, int destination)
{
    const auto position = static_cast<std::size_t>(destination);
    return position < router.facts.size() ? router.facts[position].source : UNKNOWN_SOURCE;
}

} // namespace desk
