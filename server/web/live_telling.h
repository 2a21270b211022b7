// How subscribers get what they lack.
#pragma once

#include <map>
#include <tuple>

#include "server/web/server.h"

namespace web {

// What was written in one telling, for those who need the same.
using told_bytes = std::map<std::pair<std::string, std::uint64_t>, live_bytes>;

// Begins the client's waiting topics as far as there is room for their snapshots.
void begin_topics(server& server, const desk::moment& now, stream_id stream, live_client& client);

// Tells all subscribers of the topic what they lack; those of a router that is gone, that it is.
void tell_topic(server& server, const desk::moment& now, const live_topic& which);

// What has been marked, when it has been gathered for its time.
void tell_changes(server& server, const desk::moment& now);

// Sends it, unless the client is too far behind. False when it was not sent: a snapshot makes good
// all but an error, for which the client is ended then.
bool send_live(server& server, const desk::moment& now, stream_id stream, live_client& client,
               const std::string& type, const live_bytes& bytes);

// The client is sent nothing any more, and closed at the end of the pass.
void end_client(server& server, stream_id stream, int code, const std::string& reason);

} // namespace web
