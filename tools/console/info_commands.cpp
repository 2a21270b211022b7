#include "console/commands.h"
#include "console/link_text.h"
#include "console/positions.h"
#include "console/tables.h"
#include "console/times.h"
#include "server/desk/words.h"

namespace console {

namespace {
std::string address_text(const desk::router_settings& settings)
{
    if (settings.address.empty()) return "none";
    return settings.address + ":" + std::to_string(settings.port);
}

// "ready since 14:02:11 (0:42)", and why when it is not ready.
std::string link_state_text(const console_state& console, const desk::moment& now,
                            const std::string& router)
{
    const desk::live_router& live = *desk::find_live(console.desk, router);
    return text_of(live.link) + (" since " + time_of_day(live.link_since)) + " (" +
           link_age(console, now, router) + ")" +
           (live.link_reason.empty() ? "" : ": " + live.link_reason);
}

// "64", "256 of 1024 can be routed"
std::string size_text(const console_state& console, const std::string& router, desk::side side)
{
    const int routed = routed_positions(console, router, side);
    const int all = all_positions(console, router, side);
    if (routed == 0) return "not known";
    return std::to_string(routed) +
           (all > routed ? " of " + std::to_string(all) + " can be routed" : "");
}

// Null before the first one has been started.
const routers::backend* backend_of(const console_state& console)
{
    const auto found = console.running.backends.find(console.router);
    return found == console.running.backends.end() ? nullptr : &found->second;
}

std::string starts_text(std::uint64_t starts)
{
    return "started " + std::to_string(starts) + (starts == 1 ? " time" : " times");
}

nlohmann::json router_json(const console_state& console, const std::string& router)
{
    const desk::router_settings& settings = desk::find_router(console.desk, router)->settings;
    return {{"router", router},
            {"name", settings.name},
            {"address", settings.address},
            {"port", settings.port},
            {"link", link_json(console, router)},
            {"sources", routed_positions(console, router, desk::side::sources)},
            {"destinations", routed_positions(console, router, desk::side::destinations)},
            {"namedSources", all_positions(console, router, desk::side::sources)},
            {"namedDestinations", all_positions(console, router, desk::side::destinations)}};
}

answer run_info(console_state& console, const desk::moment& now, const call& /*call*/)
{
    const desk::router_settings& settings =
        desk::find_router(console.desk, console.router)->settings;
    const routers::backend* const backend = backend_of(console);
    std::string text;
    const auto add = [&text](std::string title, const std::string& value) {
        title.resize(15, ' ');
        text += title + value + '\n';
    };
    add("Router", settings.name + (settings.name == settings.id ? "" : " (" + settings.id + ")"));
    add("Address", address_text(settings));
    add("Link", link_state_text(console, now, console.router));
    add("Sources", size_text(console, console.router, desk::side::sources));
    add("Destinations", size_text(console, console.router, desk::side::destinations));
    add("Numbers", "begin at " + std::to_string(settings.first_number));
    nlohmann::json json = router_json(console, console.router);
    if (backend != nullptr) {
        const routers::identity& identity = backend->info.identity;
        const std::pair<const char*, const std::string&> told[] = {{"Model", identity.model},
                                                                   {"Firmware", identity.firmware},
                                                                   {"Product", identity.product},
                                                                   {"Company", identity.company}};
        for (const auto& [title, value] : told)
            add(title, value.empty() ? "not told" : value);
        json["model"] = identity.model;
        json["firmware"] = identity.firmware;
        json["product"] = identity.product;
        json["company"] = identity.company;
        add("Backend", starts_text(backend->starts));
        add("Frames", std::to_string(backend->trace.sent) + " sent, " +
                          std::to_string(backend->trace.received) + " received");
        json["backendStarts"] = backend->starts;
        json["framesSent"] = backend->trace.sent;
        json["framesReceived"] = backend->trace.received;
    }
    return {.text = text, .json = std::move(json)};
}

answer run_routers(console_state& console, const desk::moment& now, const call& /*call*/)
{
    common::text_table table{
        "",
        {{""}, {"Router"}, {"Address"}, {"Sources", true}, {"Destinations", true}, {"Link"}},
        {}};
    nlohmann::json rows = nlohmann::json::array();
    for (const auto& [id, router] : console.desk.house.routers) {
        const auto count = [&, &id = id](desk::side side) {
            const int routed = routed_positions(console, id, side);
            return routed == 0 ? "" : std::to_string(routed);
        };
        table.rows.push_back({id == console.router ? "*" : "", router.settings.name,
                              address_text(router.settings), count(desk::side::sources),
                              count(desk::side::destinations), link_state_text(console, now, id)});
        rows.push_back(router_json(console, id));
    }
    return {.text = fitted_table(std::move(table), console.columns) +
                    "* is the one that commands concern; \"use\" changes that.\n",
            .json = {{"inUse", console.router}, {"rows", std::move(rows)}}};
}
} // namespace

const std::vector<command>& info_commands()
{
    static const std::vector<command> COMMANDS = {
        {"info",
         {},
         0,
         false,
         false,
         "",
         "what is known of the router",
         "Shows the router's address, its link and since when, how much it can route, and\n"
         "what it tells of itself.\n",
         run_info},
        {"routers",
         {},
         0,
         false,
         false,
         "",
         "list the routers and their links",
         "Lists all routers of this console, how it stands with their links, since when\n"
         "and why.\n",
         run_routers},
    };
    return COMMANDS;
}

} // namespace console
