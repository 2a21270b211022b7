#include "server/web/server_json.h"

#include <climits>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

namespace web {

namespace {
// A link that is being made is none of the troubles yet.
constexpr std::chrono::seconds TIME_TO_CONNECT{5};

// By its IANA name, as far as the system tells.
std::string time_zone()
{
    const char* const set = std::getenv("TZ");
    if (set != nullptr && *set != '\0') return *set == ':' ? set + 1 : set;
    char path[PATH_MAX];
    const ssize_t length = readlink("/etc/localtime", path, sizeof path);
    const std::string target(path, length > 0 ? static_cast<std::size_t>(length) : 0);
    constexpr std::string_view FOLDER = "zoneinfo/";
    const std::size_t at = target.rfind(FOLDER);
    return at == std::string::npos ? "UTC" : target.substr(at + FOLDER.size());
}

// Of the server's day.
std::string clock_text(desk::wall time)
{
    const std::time_t seconds = std::chrono::floor<std::chrono::seconds>(time).count();
    std::tm parts{};
    localtime_r(&seconds, &parts);
    char text[16];
    std::strftime(text, sizeof text, "%H:%M:%S", &parts);
    return text;
}

json warning(const char* severity, desk::wall since, const std::string& text)
{
    return {{"severity", severity}, {"since", time_text(since)}, {"text", text}};
}

void add_link_warning(json& warnings, const desk::moment& now, const std::string& id,
                      const std::string& name, const desk::live_router& live)
{
    const bool failing = live.link == desk::link_state::failing;
    const bool gone =
        live.link == desk::link_state::down ||
        (live.link == desk::link_state::connecting && now.utc - live.link_since > TIME_TO_CONNECT);
    if (!failing && !gone) return;
    json told = warning(
        failing ? "error" : "warning", live.link_since,
        name + (failing ? ": its process does not stay up since " : ": no connection since ") +
            clock_text(live.link_since));
    told["router"] = id;
    warnings.push_back(told);
}

json warnings_json(const server& server, const desk::moment& now, const desk::actor& actor)
{
    json warnings = json::array();
    const journal::keeper_health& health = server.journal_health;
    if (!health.failure.empty())
        warnings.push_back(warning("error", health.since,
                                   "The history cannot be written since " +
                                       clock_text(health.since) + ": " + health.failure + "."));
    for (const auto& [id, router] : server.desk.house.routers)
        if (desk::right_on(actor.may, id) >= desk::right::view)
            add_link_warning(warnings, now, id, router.settings.name,
                             *desk::find_live(server.desk, id));
    return warnings;
}
} // namespace

json server_json(const server& server, const desk::moment& now, const desk::actor& actor)
{
    const journal::keeper_health& health = server.journal_health;
    json database = {
        {"bytes", health.bytes}, {"waiting", health.waiting}, {"failures", health.failures}};
    if (health.lost > 0) database["lost"] = health.lost;
    if (health.refused > 0) database["refused"] = health.refused;
    return {{"version", PROJECT_VERSION},
            {"instance", desk::text_of(server.instance)},
            {"started", time_text(server.started.utc)},
            {"time", time_text(now.utc)},
            {"timeZone", time_zone()},
            {"operators", operators_json(server, now, actor)["operators"].size()},
            {"liveClients", server.streams.size() - server.exports.size()},
            {"database", database},
            {"warnings", warnings_json(server, now, actor)}};
}

} // namespace web
