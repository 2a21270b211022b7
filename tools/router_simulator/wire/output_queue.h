// The bytes on their way to one client, each with the time at which it may go. No input or output;
// times are absolute, in microseconds.
#pragma once

#include <deque>
#include <map>
#include <string>

#include "common/clock.h"

namespace router_simulator {

constexpr us_time_t NEVER = UINT64_MAX;

struct due_bytes {
    us_time_t due = 0;
    std::string bytes;
};

struct output_queue {
    std::string ready;                          // due, not yet accepted by the socket
    std::deque<due_bytes> in_order;             // the due times never fall
    std::multimap<us_time_t, std::string> late; // go behind `in_order` when they are due
};

// Appends the bytes, which go no earlier than what stands before them. Returns when they go.
us_time_t queue_in_order(output_queue& queue, us_time_t due, const std::string& bytes);

// Bytes that let others pass until they are due.
void queue_late(output_queue& queue, us_time_t due, const std::string& bytes);

// Puts what is due by now into `ready`.
void make_ready(output_queue& queue, us_time_t now);

// When the next bytes are due; NEVER when none wait for their time.
us_time_t next_due(const output_queue& queue);

std::size_t queued_size(const output_queue& queue);

} // namespace router_simulator
