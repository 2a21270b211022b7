// Those who follow: what they do, and whether they still may.
#pragma once

#include <optional>
#include <string>

#include "server/web/problem.h"
#include "server/web/server.h"

namespace web {

// With what of the rights decides what it is told.
void set_actor(live_client& client, const desk::actor& actor);

// A topic that the client may follow. With the revision that it has, of this instance, it is told
// what is missing, if that is known; else it gets a snapshot.
void follow_topic(server& server, const desk::moment& now, stream_id stream,
                  const live_topic& topic, std::optional<std::uint64_t> since);
void unfollow_topic(server& server, stream_id stream, const live_topic& topic);

void tell_error(server& server, const desk::moment& now, stream_id stream, live_client& client,
                const problem& wrong, const std::string& topic);
void tell_heartbeat(server& server, const desk::moment& now, stream_id stream, live_client& client);

// Ends or narrows what the client follows to what its person may view now. It counts as a use of
// the session.
void check_client(server& server, const desk::moment& now, stream_id stream, live_client& client);

// Whose time it is gets a heartbeat, or is ended.
void look_after_clients(server& server, const desk::moment& now);

} // namespace web
