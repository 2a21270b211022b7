// What the server waits for, on its one thread: descriptors, signals, the sockets of transport.h,
// and a time. Everything is done in functions that the loop calls; none of them may wait.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <span>

namespace web {

using instant = std::chrono::steady_clock::time_point;

struct loop_inside; // the loop and its queue, which only what waits in it sees

struct loop {
    std::unique_ptr<loop_inside> inside;

    // Throws when the system has no descriptor left.
    loop();
    ~loop();
    loop(const loop&) = delete;
    loop& operator=(const loop&) = delete;
};

// Calls the function again and again while the descriptor is readable, once between two passes: it,
// or the pass, must read what there is.
// The descriptor becomes one that does not block; it stays the caller's, and open as long as the
// loop is there. Throws when the system refuses to watch it.
void watch_descriptor(loop& loop, int descriptor, std::function<void()> on_readable);

// The signals end nothing any more, but are told here.
void watch_signals(loop& loop, std::span<const int> signals, std::function<void(int)> on_signal);

// The function is called when `run` begins, after every batch of calls of the others (some of them,
// so that it is not kept waiting), and at the time that it has returned last; without one, or
// earlier, only after a batch. One function: the last that was given.
void call_after_each_pass(loop& loop, std::function<std::optional<instant>()> function);

// Returns after `stop`, which may be called from what the loop calls, or before. Can be run again.
void run(loop& loop);
void stop(loop& loop);

} // namespace web
