#include "server/web/router_json.h"

#include "server/desk/words.h"
#include "server/web/position.h"

namespace web {

namespace {
// What the process has told of the present connection. Names come side by side, each as a whole.
json progress_json(const server& server, const std::string& router)
{
    const desk::live_router& live = *desk::find_live(server.desk, router);
    const routers::backend* const backend = find_backend(server, router);
    std::size_t names_read = 0;
    if (backend != nullptr && backend->link.sources_reported)
        names_read += live.source_names.size();
    if (backend != nullptr && backend->link.destinations_reported)
        names_read += live.destination_names.size();
    const int names = all_positions(server.desk, router, desk::side::sources) +
                      all_positions(server.desk, router, desk::side::destinations);
    const int routes = routable_positions(server.desk, router, desk::side::destinations);
    int routes_read = 0;
    for (int i = 0; i < std::min(routes, static_cast<int>(live.facts.size())); ++i)
        if (live.facts[static_cast<std::size_t>(i)].connection == live.connection) ++routes_read;
    return {{"namesRead", names_read},
            {"names", names},
            {"routesRead", routes_read},
            {"routes", routes}};
}

// Null when the router has told nothing of itself yet.
json identity_json(const server& server, const std::string& router)
{
    json identity;
    const routers::backend* const backend = find_backend(server, router);
    if (backend == nullptr) return identity;
    const routers::identity& told = backend->info.identity;
    if (!told.model.empty()) identity["model"] = told.model;
    if (!told.firmware.empty()) identity["firmware"] = told.firmware;
    if (!told.product.empty()) identity["product"] = told.product;
    if (!told.company.empty()) identity["company"] = told.company;
    return identity;
}
} // namespace

const routers::backend* find_backend(const server& server, const std::string& router)
{
    const auto found = server.routers.backends.find(router);
    return found == server.routers.backends.end() ? nullptr : &found->second;
}

json link_json(const server& server, const std::string& router)
{
    const desk::live_router& live = *desk::find_live(server.desk, router);
    json link = {{"state", desk::text_of(live.link)}};
    if (!live.link_reason.empty()) link["reason"] = live.link_reason;
    link["since"] = time_text(live.link_since);
    if (live.link == desk::link_state::reading) link["progress"] = progress_json(server, router);
    return link;
}

json router_json(const server& server, const std::string& router)
{
    using desk::side;
    const desk::house_router& known = *desk::find_router(server.desk, router);
    const desk::live_router& live = *desk::find_live(server.desk, router);
    const desk::router_settings& settings = known.settings;
    json value = {{"id", settings.id},
                  {"name", settings.name},
                  {"address", settings.address},
                  {"port", settings.port},
                  {"simulated", is_simulated(server, router)},
                  {"sourceLimit", settings.inputs},
                  {"destinationLimit", settings.outputs},
                  {"firstNumber", settings.first_number},
                  {"confirmationLimitMs", settings.confirmation_limit.count()},
                  {"link", link_json(server, router)}};
    const json identity = identity_json(server, router);
    if (!identity.is_null()) value["identity"] = identity;
    value["sources"] = live.source_names.size();
    value["destinations"] = live.destination_names.size();
    value["routableSources"] = routable_positions(server.desk, router, side::sources);
    value["routableDestinations"] = routable_positions(server.desk, router, side::destinations);
    if (const auto stale = desk::stale_since(live)) value["staleSince"] = time_text(*stale);
    value["problems"] = live.troubled.size();
    value["locks"] = known.locks.size();
    value["revision"] = live.revision;
    return value;
}

json routers_json(const server& server, const desk::rights& may)
{
    json list = json::array();
    for (const auto& [router, known] : server.desk.house.routers)
        if (desk::right_on(may, router) >= desk::right::view)
            list.push_back(router_json(server, router));
    return {{"revision", server.desk.revision}, {"routers", std::move(list)}};
}

} // namespace web
