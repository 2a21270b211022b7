#include "console/link_text.h"

#include "console/times.h"
#include "server/desk/words.h"

namespace console {

namespace {
std::string reason_behind(const desk::live_router& live)
{
    return live.link_reason.empty() ? "" : ": " + live.link_reason;
}
} // namespace

std::optional<desk::wall> known_until(const console_state& console, const std::string& router)
{
    const auto link = console.links.find(router);
    if (link == console.links.end() || link->second.ready || link->second.connection == 0)
        return std::nullopt;
    return link->second.lost;
}

std::string link_age(const console_state& console, const desk::moment& now,
                     const std::string& router)
{
    const auto link = console.links.find(router);
    const bool heard = link != console.links.end() &&
                       link->second.heard == desk::find_live(console.desk, router)->link_since;
    return age(heard ? now.steady - link->second.since : desk::monotonic{});
}

std::string link_line(const console_state& console, const desk::moment& now,
                      const std::string& router)
{
    const desk::live_router& live = *desk::find_live(console.desk, router);
    if (live.link == desk::link_state::ready) return "";
    const auto until = known_until(console, router);
    return (until ? "As of " + time_of_day(*until) + ", link " : "Link ") +
           desk::text_of(live.link) + " " + link_age(console, now, router) + reason_behind(live) +
           ".\n";
}

nlohmann::json link_json(const console_state& console, const std::string& router)
{
    const desk::live_router& live = *desk::find_live(console.desk, router);
    nlohmann::json json = {{"state", desk::text_of(live.link)},
                           {"since", json_time(live.link_since)},
                           {"reason", live.link_reason}};
    if (const auto until = known_until(console, router)) json["asOf"] = json_time(*until);
    return json;
}

std::string not_ready_text(const console_state& console, const std::string& router)
{
    const desk::live_router& live = *desk::find_live(console.desk, router);
    return "the link to " + desk::find_router(console.desk, router)->settings.name + " is " +
           desk::text_of(live.link) + reason_behind(live);
}

} // namespace console
