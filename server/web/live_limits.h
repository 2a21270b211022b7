// Every bound of what is told live, and what happens beyond it.
#pragma once

#include <chrono>
#include <cstddef>

namespace web {

constexpr std::chrono::milliseconds GATHERING{20}; // changes of a topic within it are one message
constexpr std::size_t CHANGES_KEPT = 10'000;  // of a topic; who has missed more gets a snapshot
constexpr std::chrono::seconds HEARTBEAT{10}; // both ways
constexpr std::chrono::seconds LONGEST_SILENCE{30}; // of a WebSocket's client: closed with 1008
constexpr std::chrono::seconds LOOKING_AGAIN{1};    // at what changes without being told

constexpr std::size_t MOST_UNSENT = 4U << 20U;  // bytes to a client: then nothing until all is sent
constexpr std::chrono::minutes BEHIND_AGAIN{1}; // the second time within it: closed with 1013
constexpr std::size_t ROOM_TO_BEGIN = 256 << 10; // snapshots wait while more bytes are unsent

constexpr std::size_t LIVE_CLIENTS = 2000;            // one more is refused with 503
constexpr std::size_t LIVE_CLIENTS_OF_A_PERSON = 600; // likewise, with 429
constexpr std::size_t TOPICS_OF_A_CLIENT = 1010;      // one more is refused
constexpr std::size_t LONGEST_EVENT_ID = 4096;        // bytes; with more topics events have none

} // namespace web
