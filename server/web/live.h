// What is told live: snapshots of topics, then what changes in them. One record, part of the
// server's (server.h).
//
// A change is noted at once in its topic's log; what has been gathered for GATHERING is told to all
// subscribers. Those who may see the same and have had the same get the same bytes.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "server/desk/actor.h"
#include "server/desk/house.h"
#include "server/desk/moment.h"
#include "server/web/live_limits.h"
#include "server/web/live_log.h"
#include "server/web/message.h"

namespace web {

using stream_id = std::uint64_t; // of an answer without an end, or a WebSocket; never used again
using live_bytes = std::shared_ptr<const std::string>;

struct live_topic {
    enum class kind { routers, router, operations, salvos, operators, me, server, trace };
    kind what = kind::routers;
    std::string subject; // the router, or the person whose `me` it is
    // Not a pointer that is compared with 0: NOLINTNEXTLINE(modernize-use-nullptr)
    auto operator<=>(const live_topic&) const = default;
};

struct subscription {
    std::optional<std::uint64_t> revision; // that it has; none: it waits for its snapshot
};

struct live_snapshot {
    std::uint64_t revision = 0;
    live_bytes bytes;
};

struct followed_topic {
    change_log log;
    std::map<stream_id, subscription> subscribers;
    std::map<std::string, live_snapshot, std::less<>> snapshots; // newest, by what may be seen
    // As it was noted last, so that a change is told when there is one:
    std::set<int> stale;    // of a router: destinations
    std::set<int> troubled; // likewise
    std::string text;       // of operators; of server, but for the time; of me: the settings
    std::pair<std::size_t, std::size_t> steps{}; // of me: undo and redo
};

struct live_client {
    bool events = false; // it is sent server-sent events, and says nothing
    request credentials; // no more of its request than says who sends it
    desk::actor actor;
    desk::rights sees; // what of the actor's rights matters for lists
    std::string view;  // the same as text: whoever has the same may see the same
    std::set<live_topic> topics;
    std::deque<live_topic> beginning; // those of them that wait for their snapshots
    desk::monotonic heard{};
    desk::monotonic beat{}; // when it was sent a heartbeat last
    bool behind = false;    // by more than MOST_UNSENT: nothing until all is sent
    std::optional<desk::monotonic> fell_behind;
    std::string screen; // that it says it shows
    std::string router;
};

struct live_end {
    int code = 0;
    std::string reason;
};

struct live_state {
    std::map<live_topic, followed_topic> topics;
    std::map<stream_id, live_client> clients;
    std::map<stream_id, live_end> ending; // at the end of the pass
    std::set<live_topic> changed;         // since the last telling
    std::optional<desk::monotonic> tell_at;
    desk::monotonic looked{};             // at what changes without being told
    std::uint64_t revision = 0;           // of all topics but routers and traces
    std::set<std::string> ending_routers; // whose backends are ended, as it was seen last
    std::uint64_t accounts_changes = 0;   // as they were seen last
    std::uint64_t people_set = 0;         // likewise
    std::uint64_t dropped = 0;            // messages that were not sent to those behind
};

} // namespace web
