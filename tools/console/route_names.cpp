#include "console/route_names.h"

#include "console/positions.h"
#include "server/desk/words.h"

namespace console {

namespace {
// What people call it; empty: it has no name.
std::string_view name_at(const desk::house_router& known, const desk::live_router& live,
                         desk::side side, int index)
{
    const auto& names = side == desk::side::sources ? live.source_names : live.destination_names;
    const std::string& alias = desk::label_of(known, side, index).alias;
    const auto place = static_cast<std::size_t>(index);
    if (!alias.empty()) return alias;
    return place < names.size() ? std::string_view(names[place]) : std::string_view();
}

bool is_of_another(const console_state& console, const std::string& router, desk::side side,
                   int index, const std::string& name)
{
    const desk::house_router& known = *desk::find_router(console.desk, router);
    const desk::live_router& live = *desk::find_live(console.desk, router);
    for (int other = all_positions(console, router, side); other-- > 0;)
        if (other != index && name_at(known, live, side, other) == name) return true;
    return false;
}

std::string with_number(const console_state& console, const std::string& router, desk::side side,
                        int index, std::string name)
{
    if (index < 0 || desk::find_live(console.desk, router) == nullptr ||
        !is_of_another(console, router, side, index, name))
        return name;
    return name + " (" + position_at(console, router, side, index).number + ")";
}
} // namespace

std::string source_text(const console_state& console, const std::string& router, int source)
{
    return with_number(console, router, desk::side::sources, source,
                       desk::source_name(console.desk, router, source));
}

std::string destination_text(const console_state& console, const std::string& router,
                             int destination)
{
    return with_number(console, router, desk::side::destinations, destination,
                       desk::destination_name(console.desk, router, destination));
}

std::string place_text(const console_state& console, const std::string& router, int destination)
{
    std::string name = destination_text(console, router, destination);
    if (router == console.router) return name;
    const desk::house_router* const known = desk::find_router(console.desk, router);
    return name + " of " + (known == nullptr ? router : known->settings.name);
}

std::string route_text(const console_state& console, const desk::route& route)
{
    return place_text(console, route.router, route.destination) + " <- " +
           source_text(console, route.router, route.source);
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
