// What the transport tells the server above it, and what it counts.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "server/web/message.h"

namespace web {

using request_id = std::uint64_t; // never 0, never used again
using stream_id = request_id;     // the number of the request that it answers

struct transport_hooks {
    std::function<void(request_id, request&&)> on_request;
    // The client has gone before it was answered: the number is not known any more. One that has
    // only ended its own sending waits for its answer.
    std::function<void(request_id)> on_gone = [](request_id) {
    };

    std::function<void(stream_id, std::string&&)> on_message = [](stream_id, std::string&&) {
    };
    // Everything given so far has been handed to the system.
    std::function<void(stream_id)> on_drained = [](stream_id) {
    };
    // The client has gone, or was sent away. Not called after `finish` and `close`.
    std::function<void(stream_id)> on_stream_gone = [](stream_id) {
    };
};

struct transport_counters {
    std::uint64_t accepted = 0;            // connections since the start
    std::size_t open = 0;                  // at present
    std::size_t streams = 0;               // of those, both kinds
    std::uint64_t turned_away = 0;         // for the limits of connections
    std::uint64_t failed_accepts = 0;      // for lack of descriptors or memory
    std::map<int, std::uint64_t> statuses; // of answers, refusals among them
    std::uint64_t bytes_in = 0;            // as they travel inside of TLS
    std::uint64_t bytes_out = 0;
};

} // namespace web
