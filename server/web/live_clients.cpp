#include "server/web/live_clients.h"

#include "server/web/credentials.h"
#include "server/web/json.h"
#include "server/web/live_following.h"
#include "server/web/live_notes.h"
#include "server/web/live_telling.h"
#include "server/web/live_topics.h"

namespace web {

namespace {
bool may_view_anything(const desk::rights& sees)
{
    return sees.usual != desk::right::none || !sees.exceptions.empty();
}

// What of their stages they may take is different.
void note_rights(server& server, const live_client& client)
{
    const std::string& person = client.actor.person;
    const auto stages = server.desk.stages.find(person);
    if (stages == server.desk.stages.end()) return;
    for (const auto& [router, rows] : stages->second)
        note_thing(server, {live_topic::kind::me, person}, {live_thing::kind::stage, 0, router});
}
} // namespace

void set_actor(live_client& client, const desk::actor& actor)
{
    client.actor = actor;
    client.sees = viewing_part(actor.may);
    client.view = view_text(client.sees);
}

void follow_topic(server& server, const desk::moment& now, stream_id stream,
                  const live_topic& topic, std::optional<std::uint64_t> since)
{
    note_changes(server, now);
    live_client& client = server.live.clients.at(stream);
    // Whose frames were counted before, of a router that has been removed since, nobody knows.
    const bool begins =
        topic.what == live_topic::kind::trace && !server.live.topics.contains(topic);
    followed_topic& followed = find_topic(server, topic);
    client.topics.insert(topic);
    subscription& subscription = followed.subscribers[stream];
    std::erase(client.beginning, topic);
    subscription.revision.reset();
    if (since && !begins && reaches(followed.log, *since)) {
        subscription.revision = since;
        tell_topic(server, now, topic);
    } else {
        client.beginning.push_back(topic);
    }
}

void unfollow_topic(server& server, stream_id stream, const live_topic& topic)
{
    const auto found = server.live.topics.find(topic);
    if (found == server.live.topics.end()) return;
    found->second.subscribers.erase(stream);
    if (const auto client = server.live.clients.find(stream); client != server.live.clients.end()) {
        client->second.topics.erase(topic);
        std::erase(client->second.beginning, topic);
    }
    const bool kept =
        topic.what == live_topic::kind::router || topic.what == live_topic::kind::routers ||
        topic.what == live_topic::kind::operations || topic.what == live_topic::kind::salvos;
    if (!kept && found->second.subscribers.empty()) server.live.topics.erase(found);
}

void tell_error(server& server, const desk::moment& now, stream_id stream, live_client& client,
                const problem& wrong, const std::string& topic)
{
    send_live(
        server, now, stream, client, "error",
        std::make_shared<const std::string>(text_of(json{
            {"type", "error"}, {"code", wrong.code}, {"topic", topic}, {"detail", wrong.detail}})));
}

void tell_heartbeat(server& server, const desk::moment& now, stream_id stream, live_client& client)
{
    client.beat = now.steady;
    send_live(
        server, now, stream, client, "heartbeat",
        std::make_shared<const std::string>(text_of(json{
            {"type", "heartbeat"}, {"time", time_text(now.utc)}, {"version", PROJECT_VERSION}})));
}

void check_client(server& server, const desk::moment& now, stream_id stream, live_client& client)
{
    desk::actor actor;
    problem wrong;
    if (!find_actor(server, now, client.credentials, actor, wrong))
        return end_client(server, stream, 1008, "signed out");
    const std::string view = client.view;
    const bool same_rights = client.actor.may == actor.may;
    set_actor(client, actor);
    if (!same_rights) note_rights(server, client);
    if (!may_view_anything(client.sees))
        return end_client(server, stream, 1008, "you may not view anything any more");
    const std::set<live_topic> topics = client.topics; // which becomes less meanwhile
    for (const live_topic& each : topics) {
        if (const auto against = check_topic(server, actor, each)) {
            unfollow_topic(server, stream, each);
            tell_error(server, now, stream, client, *against, text_of(each));
        } else if (view != client.view && differs_by_view(each)) {
            follow_topic(server, now, stream, each, {}); // other things stand in it now
        }
    }
    begin_topics(server, now, stream, client);
}

void look_after_clients(server& server, const desk::moment& now)
{
    for (auto& [stream, client] : server.live.clients) {
        if (!client.events && now.steady - client.heard >= LONGEST_SILENCE)
            end_client(server, stream, 1008, "nothing heard for 30 s");
        if (now.steady - client.beat < HEARTBEAT) continue;
        if (client.events) check_client(server, now, stream, client);
        tell_heartbeat(server, now, stream, client);
    }
}

} // namespace web
