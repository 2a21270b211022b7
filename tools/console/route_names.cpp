#include "console/route_names.h"

#include "server/desk/words.h"

namespace console {

std::string place_text(const console_state& console, const std::string& router, int destination)
{
    std::string name = desk::destination_text(console.desk, router, destination);
    if (router == console.router) return name;
    const desk::house_router* const known = desk::find_router(console.desk, router);
    return name + " of " + (known == nullptr ? router : known->settings.name);
}

std::string route_text(const console_state& console, const desk::route& route)
{
    return place_text(console, route.router, route.destination) + " <- " +
           desk::source_text(console.desk, route.router, route.source);
}

std::string route_count(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " route" : " routes");
}

nlohmann::json destination_json(const desk::desk_state& desk, const std::string& router,
                                int destination)
{
    return {{"index", destination}, {"name", desk::destination_name(desk, router, destination)}};
}

nlohmann::json source_json(const desk::desk_state& desk, const std::string& router, int source)
{
    if (source == desk::NO_SOURCE) return nullptr;
    if (source == desk::UNKNOWN_SOURCE) return {{"name", "unknown"}};
    return {{"index", source}, {"name", desk::source_name(desk, router, source)}};
}

int known_source(const desk::desk_state& desk, const desk::route& route)
{
    const desk::live_router* const live = desk::find_live(desk, route.router);
    return live != nullptr && desk::is_fresh(*live, route.destination)
               ? desk::source_shown(*live, route.destination)
               : desk::UNKNOWN_SOURCE;
}

nlohmann::json route_json(const desk::desk_state& desk, const desk::route& route, int was)
{
    return {{"router", route.router},
            {"destination", destination_json(desk, route.router, route.destination)},
            {"was", source_json(desk, route.router, was)},
            {"source", source_json(desk, route.router, route.source)}};
}

} // namespace console
