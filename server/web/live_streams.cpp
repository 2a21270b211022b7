#include "server/web/live_streams.h"

#include <utility>

#include "server/web/live_clients.h"
#include "server/web/live_messages.h"
#include "server/web/live_telling.h"

namespace web {

namespace {
void remove_client(server& server, stream_id stream)
{
    const auto found = server.live.clients.find(stream);
    if (found == server.live.clients.end()) return;
    for (const live_topic& each : std::exchange(found->second.topics, {}))
        unfollow_topic(server, stream, each);
    server.live.clients.erase(found);
    server.live.ending.erase(stream);
}

void forget_client(server& server, const desk::moment& /*now*/, stream_id stream)
{
    remove_client(server, stream);
}

// It has taken everything: what it missed it gets anew.
void go_on(server& server, const desk::moment& now, stream_id stream)
{
    const auto found = server.live.clients.find(stream);
    if (found == server.live.clients.end()) return;
    live_client& client = found->second;
    if (std::exchange(client.behind, false)) {
        client.beginning.clear();
        for (const live_topic& each : client.topics) {
            followed_topic& topic = server.live.topics.at(each);
            std::optional<std::uint64_t>& has = topic.subscribers.at(stream).revision;
            if (has == topic.log.revision) continue;
            has.reset();
            client.beginning.push_back(each);
        }
    }
    begin_topics(server, now, stream, client);
}
} // namespace

stream_owner add_client(server& server, const desk::moment& now, stream_id stream,
                        const request& credentials, const desk::actor& actor, bool events)
{
    live_client& client = server.live.clients[stream];
    client.events = events;
    client.credentials.address = credentials.address;
    for (const char* const name : {"authorization", "cookie"})
        if (const std::string* const value = find_header(credentials, name))
            client.credentials.headers[name] = *value;
    client.heard = client.beat = now.steady;
    set_actor(client, actor);
    return {hear_client, go_on, forget_client};
}

void close_ended(server& server)
{
    for (const auto& [stream, end] : std::exchange(server.live.ending, {})) {
        server.clients.close(stream, end.code, end.reason);
        remove_client(server, stream);
        server.streams.erase(stream);
    }
}

} // namespace web
