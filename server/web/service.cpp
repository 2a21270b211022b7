#include "server/web/embedded.h"
#include "server/web/handlers.h"

namespace web {

answer nothing_here(server& /*server*/, const call& /*call*/)
{
    return problem{"notFound", "There is nothing at this address."};
}

answer get_health(server& server, const call& /*call*/)
{
    json troubles = json::array();
    const journal::keeper_health& health = server.journal_health;
    if (!health.failure.empty())
        troubles.push_back(
            {{"code", "journalFailing"},
             {"since", time_text(health.since)},
             {"detail", "The history cannot be written: " + health.failure + ". Takes go on."}});
    return json_response({{"status", "alive"}, {"troubles", troubles}});
}

answer get_readiness(server& server, const call& /*call*/)
{
    if (!server.stopping) return json_response({{"status", "ready"}});
    answer ending(problem{"stopping", "The server is ending; nothing new is taken."});
    ending.response.headers.emplace_back("Retry-After", "5");
    return ending;
}

answer get_version(server& server, const call& /*call*/)
{
    return json_response({{"version", PROJECT_VERSION},
                          {"api", "v1"},
                          {"instance", desk::text_of(server.instance)},
                          {"started", time_text(server.started.utc)},
                          {"demonstration", server.settings.demonstration}});
}

answer get_description(server& /*server*/, const call& /*call*/)
{
    return response{200, "application/yaml", std::string(embedded::description()), {}};
}

} // namespace web
