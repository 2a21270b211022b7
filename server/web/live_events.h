// Live messages as server-sent events.
#pragma once

#include <map>
#include <string>

#include "server/web/server.h"

namespace web {

// The message, with an id by which its client can go on after it.
void send_event(const server& server, stream_id stream, const live_client& client,
                const std::string& type, const live_bytes& message);

// The revisions in an id of this server's instance, by the names of their topics; none when it is
// of another one, or no id.
std::map<std::string, std::uint64_t> read_event_id(const server& server, const std::string& id);

} // namespace web
