// The topics with their logs: found, noted in, marked to be told of.
#pragma once

#include "server/web/server.h"

namespace web {

// The topic with its log, which begins here when nobody has followed it yet.
followed_topic& find_topic(server& server, const live_topic& topic);

// Its subscribers are to be told.
void mark(server& server, const live_topic& which, const followed_topic& topic);

// In a topic that has revisions of its own, neither a router's nor a trace's.
void note_thing(server& server, const live_topic& which, const live_thing& thing);

// Of frames: their own numbers are the revisions.
change_log trace_log(const server& server, const std::string& router);

// Whatever has a name of a person in it may be different now: all begins anew.
void forget_all(server& server);

} // namespace web
