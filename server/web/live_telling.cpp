#include "server/web/live_telling.h"

#include <algorithm>
#include <utility>

#include "server/web/live_data.h"
#include "server/web/live_events.h"
#include "server/web/live_following.h"
#include "server/web/live_topics.h"
#include "server/web/live_untold.h"

namespace web {

namespace {
const live_end TOO_SLOW{1013, "you take in less than there is"};

live_bytes bytes_of(const json& message)
{
    return std::make_shared<const std::string>(text_of(message));
}

// Written once for all who may see the same, as long as nothing changes.
const live_snapshot& snapshot_of(server& server, const desk::moment& now, const live_topic& which,
                                 followed_topic& topic, const live_client& client)
{
    live_snapshot& known = topic.snapshots[view_of(which, client)];
    const bool ages = which.what == live_topic::kind::server; // it tells the time
    if (known.bytes != nullptr && known.revision == topic.log.revision && !ages) return known;
    known.revision = topic.log.revision;
    known.bytes = bytes_of({{"type", "snapshot"},
                            {"topic", text_of(which)},
                            {"revision", known.revision},
                            {"instance", desk::text_of(server.instance)},
                            {"data", snapshot_data({server, now, which, client.actor})}});
    return known;
}

// Null when there is nothing that this client may see.
live_bytes change_message(server& server, const desk::moment& now, const live_topic& which,
                          const followed_topic& topic, const live_client& client,
                          std::uint64_t since)
{
    json data =
        change_data({server, now, which, client.actor}, changed_since(topic.log, since), since);
    if (data.empty()) return nullptr;
    return bytes_of({{"type", "change"},
                     {"topic", text_of(which)},
                     {"revision", topic.log.revision},
                     {"previous", since},
                     {"data", std::move(data)}});
}

// The next message of this topic for the client, whose subscription is in order then.
void tell_client(server& server, const desk::moment& now, const live_topic& which,
                 followed_topic& topic, stream_id stream, told_bytes& told)
{
    live_client& client = server.live.clients.at(stream);
    std::optional<std::uint64_t>& has = topic.subscribers.at(stream).revision;
    if (client.behind || !has || *has == topic.log.revision) return;
    if (!reaches(topic.log, *has)) {
        has.reset();
        client.beginning.push_back(which);
        begin_topics(server, now, stream, client);
        return;
    }
    const auto [known, is_new] = told.try_emplace({view_of(which, client), *has});
    if (is_new) known->second = change_message(server, now, which, topic, client, *has);
    if (known->second == nullptr) return;
    const std::uint64_t had = std::exchange(*has, topic.log.revision);
    if (!send_live(server, now, stream, client, "change", known->second)) has = had;
}

// Of what is looked at: what is told now is what was noted last.
void look_at(server& server, const desk::moment& now, const live_topic& which)
{
    using kind = live_topic::kind;
    if (which.what == kind::operators || which.what == kind::server || which.what == kind::me)
        note_figures(server, now);
    if (which.what == kind::trace) note_frames(server);
}

bool is_there(const server& server, const live_topic& which)
{
    const bool of_a_router =
        which.what == live_topic::kind::router || which.what == live_topic::kind::trace;
    return !of_a_router || desk::find_live(server.desk, which.subject) != nullptr;
}

void tell_gone(server& server, const desk::moment& now, const live_topic& which,
               const followed_topic& topic)
{
    const live_bytes gone = bytes_of({{"type", "error"},
                                      {"code", "noSuchRouter"},
                                      {"topic", text_of(which)},
                                      {"detail", "There is no router " + which.subject + "."}});
    for (const auto& [stream, subscription] : topic.subscribers) {
        live_client& client = server.live.clients.at(stream);
        client.topics.erase(which);
        std::erase(client.beginning, which);
        send_live(server, now, stream, client, "error", gone);
    }
}

// False when the client is too far behind, from now on.
bool has_room(server& server, const desk::moment& now, stream_id stream, live_client& client)
{
    if (client.behind) return false;
    if (server.clients.unsent_bytes(stream) <= MOST_UNSENT) return true;
    client.behind = true;
    if (client.fell_behind && now.steady - *client.fell_behind < BEHIND_AGAIN)
        end_client(server, stream, TOO_SLOW.code, TOO_SLOW.reason);
    client.fell_behind = now.steady;
    return false;
}
} // namespace

void end_client(server& server, stream_id stream, int code, const std::string& reason)
{
    server.live.ending.try_emplace(stream, live_end{code, reason});
}

bool send_live(server& server, const desk::moment& now, stream_id stream, live_client& client,
               const std::string& type, const live_bytes& bytes)
{
    if (server.live.ending.contains(stream) || !has_room(server, now, stream, client)) {
        ++server.live.dropped;
        if (type == "error") end_client(server, stream, TOO_SLOW.code, TOO_SLOW.reason);
        return false;
    }
    if (client.events)
        send_event(server, stream, client, type, bytes);
    else
        server.clients.send(stream, bytes);
    return true;
}

void begin_topics(server& server, const desk::moment& now, stream_id stream, live_client& client)
{
    while (!client.behind && !client.beginning.empty() &&
           server.clients.unsent_bytes(stream) <= ROOM_TO_BEGIN) {
        const live_topic which = std::move(client.beginning.front());
        client.beginning.pop_front();
        if (!is_there(server, which)) {
            tell_topic(server, now, which);
            continue;
        }
        look_at(server, now, which);
        followed_topic& topic = find_topic(server, which);
        const live_snapshot& snapshot = snapshot_of(server, now, which, topic, client);
        topic.subscribers.at(stream).revision = snapshot.revision;
        if (send_live(server, now, stream, client, "snapshot", snapshot.bytes)) continue;
        topic.subscribers.at(stream).revision.reset();
        return;
    }
}

void tell_topic(server& server, const desk::moment& now, const live_topic& which)
{
    const auto found = server.live.topics.find(which);
    if (found == server.live.topics.end()) return;
    followed_topic& topic = found->second;
    look_at(server, now, which);
    if (!is_there(server, which)) {
        tell_gone(server, now, which, topic);
        server.live.topics.erase(found);
        return;
    }
    told_bytes told;
    for (const auto& [stream, subscription] : topic.subscribers)
        tell_client(server, now, which, topic, stream, told);
}

void tell_changes(server& server, const desk::moment& now)
{
    live_state& live = server.live;
    if (!live.changed.empty() && !live.tell_at) live.tell_at = now.steady + GATHERING;
    if (!live.tell_at || now.steady < *live.tell_at) return;
    live.tell_at.reset();
    for (const live_topic& each : std::exchange(live.changed, {}))
        tell_topic(server, now, each);
}

} // namespace web
