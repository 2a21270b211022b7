// How the server itself does, for people who look after it.
#include "server/desk/words.h"
#include "server/web/fields.h"
#include "server/web/handlers.h"
#include "server/web/parameters.h"
#include "server/web/server_json.h"

namespace web {

namespace {
const std::vector<std::string> LEVELS = {"debug", "note", "warning", "error"};

std::string link_line(const std::string& id, const desk::house_router& router,
                      const desk::live_router& live)
{
    return "  " + id + " (" + router.settings.name + "): " + desk::text_of(live.link) + " since " +
           time_text(live.link_since) + (live.link_reason.empty() ? "" : ", " + live.link_reason) +
           "\n";
}
} // namespace

answer list_operators(server& server, const call& call)
{
    return json_response(operators_json(server, call.now, call.actor));
}

answer get_server(server& server, const call& call)
{
    return json_response(server_json(server, call.now, call.actor));
}

answer get_server_log(server& server, const call& call)
{
    std::vector<problem_at> wrong;
    const auto least = read_word(call.request, "level", LEVELS, wrong).value_or(0);
    if (!wrong.empty()) return problem_of(wrong);
    json lines = json::array();
    for (const server_log_line& line : server.log.lines)
        if (static_cast<std::size_t>(line.level) >= least)
            lines.push_back({{"time", time_text(line.at)},
                             {"level", word_of(line.level)},
                             {"text", line.text}});
    return json_response({{"forgotten", server.log.forgotten}, {"lines", std::move(lines)}});
}

answer get_support_report(server& server, const call& call)
{
    const json figures = server_json(server, call.now, call.actor);
    std::string report = "router_control " + figures["version"].get<std::string>() + ", up since " +
                         time_text(server.started.utc) + "\n";
    report += "routers: " + std::to_string(server.desk.house.routers.size()) + "\n";
    for (const auto& [id, router] : server.desk.house.routers)
        report += link_line(id, router, *desk::find_live(server.desk, id));
    report += "people: " + std::to_string(server.accounts.people.size()) +
              ", tokens: " + std::to_string(server.accounts.tokens.size()) + "\n";
    report += "server: " + text_of(figures) + "\n";
    report += "log, " + std::to_string(server.log.forgotten) + " older lines left out:\n";
    for (const server_log_line& line : server.log.lines)
        report +=
            time_text(line.at) + " " + std::string(word_of(line.level)) + ": " + line.text + "\n";
    const std::string day = time_text(call.now.utc).substr(0, sizeof "2026-11-22" - 1);
    return response{
        200,
        "text/plain; charset=utf-8",
        report,
        {{"Content-Disposition", "attachment; filename=\"router-control-" + day + ".txt\""}}};
}

} // namespace web
