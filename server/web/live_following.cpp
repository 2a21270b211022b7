#include "server/web/live_following.h"

#include <algorithm>

#include "server/web/live_person_data.h"
#include "server/web/live_routes.h"
#include "server/web/router_json.h"
#include "server/web/settings_json.h"

namespace web {

namespace {
using kind = live_topic::kind;
} // namespace

followed_topic& find_topic(server& server, const live_topic& topic)
{
    const auto [found, is_new] = server.live.topics.try_emplace(topic);
    if (!is_new) return found->second;
    followed_topic& made = found->second;
    if (topic.what == kind::trace) {
        made.log = trace_log(server, topic.subject);
        return made;
    }
    if (topic.what != kind::router) {
        made.log = begin_log(++server.live.revision);
        if (topic.what == kind::me) made.text = text_of(settings_json(server, topic.subject));
        return made;
    }
    const desk::live_router& live = *desk::find_live(server.desk, topic.subject);
    made.log = begin_log(live.revision);
    made.stale = stale_destinations(live);
    for (const auto& [destination, wish] : live.troubled)
        made.troubled.insert(destination);
    return made;
}

void mark(server& server, const live_topic& which, const followed_topic& topic)
{
    if (!topic.subscribers.empty()) server.live.changed.insert(which);
}

void note_thing(server& server, const live_topic& which, const live_thing& thing)
{
    // Nobody goes on with it when nobody follows it.
    if (which.what == kind::me && !server.live.topics.contains(which)) return;
    followed_topic& topic = find_topic(server, which);
    note_change(topic.log, ++server.live.revision, thing);
    mark(server, which, topic);
}

change_log trace_log(const server& server, const std::string& router)
{
    const routers::backend* const backend = find_backend(server, router);
    if (backend == nullptr) return {};
    const std::uint64_t all = backend->trace.sent + backend->trace.received;
    return {all, all - backend->trace.frames.size(), {}, {}};
}

void forget_all(server& server)
{
    for (auto& [which, topic] : server.live.topics) {
        if (which.what == kind::trace) continue;
        topic.snapshots.clear();
        if (which.what == kind::router)
            topic.log = {topic.log.revision, topic.log.revision + 1, {}, {}};
        else
            topic.log = begin_log(++server.live.revision);
        for (auto& [stream, subscription] : topic.subscribers) {
            live_client& client = server.live.clients.at(stream);
            subscription.revision.reset();
            std::erase(client.beginning, which);
            client.beginning.push_back(which);
        }
    }
}

} // namespace web
