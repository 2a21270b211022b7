#include "server/web/live_data.h"

#include "server/web/live_house_data.h"
#include "server/web/live_person_data.h"
#include "server/web/live_router_data.h"
#include "server/web/router_json.h"
#include "server/web/server_json.h"
#include "server/web/trace_json.h"

namespace web {

namespace {
// With the members of data.
json only_change(const char* kind, json&& data)
{
    json change = {{"kind", kind}};
    change.update(data);
    return json::array({std::move(change)});
}

// Those that came after `since`, as far as they are kept.
json frames_since(const server& server, const std::string& router, std::uint64_t since)
{
    json frames = json::array();
    const routers::backend* const backend = find_backend(server, router);
    if (backend == nullptr) return frames;
    const routers::trace_reader& trace = backend->trace;
    std::uint64_t number = trace.sent + trace.received - trace.frames.size();
    for (const routers::traced_frame& frame : trace.frames)
        if (++number > since) frames.push_back(frame_json(server.desk, router, frame, number));
    return frames;
}
} // namespace

json snapshot_data(const live_question& question)
{
    const auto& [server, now, topic, actor] = question;
    switch (topic.what) {
    case live_topic::kind::routers:
        return {{"routers", routers_json(server, actor.may)["routers"]}};
    case live_topic::kind::router:
        return router_data(server, topic.subject);
    case live_topic::kind::operations:
        return operations_data(server, now, actor.may);
    case live_topic::kind::salvos:
        return salvos_data(server, actor.may);
    case live_topic::kind::operators:
        return operators_json(server, now, actor);
    case live_topic::kind::me:
        return person_data(server, now, actor);
    case live_topic::kind::server:
        return {{"server", server_json(server, now, actor)}};
    case live_topic::kind::trace:
        return {{"frames", frames_since(server, topic.subject, 0)}};
    }
    return {};
}

json change_data(const live_question& question, const std::vector<live_thing>& things,
                 std::uint64_t since)
{
    const auto& [server, now, topic, actor] = question;
    switch (topic.what) {
    case live_topic::kind::routers:
        return routers_changes(server, actor.may, things);
    case live_topic::kind::router:
        return router_changes(server, topic.subject, things);
    case live_topic::kind::operations:
        return operations_changes(server, actor.may, things);
    case live_topic::kind::salvos:
        return salvos_changes(server, actor.may, things);
    case live_topic::kind::operators:
        return only_change("operators", snapshot_data(question));
    case live_topic::kind::me:
        return person_changes(server, now, actor, things);
    case live_topic::kind::server:
        return only_change("server", snapshot_data(question));
    case live_topic::kind::trace:
        return only_change("frames", {{"frames", frames_since(server, topic.subject, since)}});
    }
    return {};
}

} // namespace web
