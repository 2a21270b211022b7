#include "router_simulator/router/state.h"

#include <cstdio>

#include "common/numbers.h"
#include "router_simulator/router/names.h"

namespace router_simulator {

simulated_router make_router(const router_options& options)
{
    simulated_router router;
    router.options = options;
    router.sources.base = options.source_base;
    router.destinations.base = options.destination_base;
    for (std::size_t i = 0; i < options.sources; ++i)
        router.sources.names.push_back(generated_source_name(i));
    for (std::size_t i = 0; i < options.destinations; ++i) {
        router.destinations.names.push_back(generated_destination_name(i));
        router.routes.push_back(options.sources == 0 ? 0 : i % options.sources);
    }
    for (std::size_t i = 0; i < options.levels; ++i)
        router.levels.push_back(generated_level_name(i));
    return router;
}

std::optional<std::size_t> position_of(const port_list& ports, std::uint64_t index)
{
    if (index < ports.base || index - ports.base >= ports.names.size()) return std::nullopt;
    return index - ports.base;
}

std::uint32_t index_of(const port_list& ports, std::size_t position)
{
    return ports.base + static_cast<std::uint32_t>(position);
}

std::string port_text(const port_list& ports, std::size_t position)
{
    const std::string& name = ports.names[position];
    return std::to_string(index_of(ports, position)) + (name.empty() ? "" : " " + name);
}

std::string route_text(const simulated_router& router, std::size_t destination)
{
    const std::size_t source = router.routes[destination];
    const bool is_routed = source < router.sources.names.size();
    return port_text(router.destinations, destination) + " <- " +
           (is_routed ? port_text(router.sources, source) : "none");
}

std::string wire_index(std::uint32_t index)
{
    char text[9];
    std::snprintf(text, sizeof text, "%04X", index);
    return text;
}

router_message routing_status(const simulated_router& router, std::size_t destination,
                              std::uint32_t level)
{
    return make_request("IQ", {wire_index(index_of(router.destinations, destination)),
                               upper_hex(level), "N", "N",
                               wire_index(index_of(router.sources, router.routes[destination]))});
}

std::vector<addressed_message> take_route(simulated_router& router, std::size_t destination,
                                          std::size_t source)
{
    router.routes[destination] = source;
    router.takes.push_back({destination, source});
    std::vector<addressed_message> announcements;
    for (auto& [number, view] : router.clients) {
        view.changed_destinations.insert(destination);
        if (router.options.announce)
            announcements.push_back({number, routing_status(router, destination, 0)});
    }
    return announcements;
}

namespace {
void raise_flag(simulated_router& router, std::uint32_t flag)
{
    for (auto& [number, view] : router.clients)
        view.flags |= flag;
}
} // namespace

void rename_source(simulated_router& router, std::size_t position, const std::string& name)
{
    router.sources.names[position] = name;
    raise_flag(router, SOURCE_NAMES_FLAG);
}

void rename_destination(simulated_router& router, std::size_t position, const std::string& name)
{
    router.destinations.names[position] = name;
    raise_flag(router, DESTINATION_NAMES_FLAG);
}

} // namespace router_simulator
