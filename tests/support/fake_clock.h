// The clock of the in-process tests: a counter that moves only when the backend pauses or waits, or
// a test says so. Linked in place of the real clock, pauses and waits included. Events can be
// scheduled at exact times, and every wait is recorded.
#pragma once

#include <functional>
#include <set>
#include <vector>

#include "common/clock.h"

// Where the counter starts: far enough from 0 that an absolute time of 0 is the past.
constexpr us_time_t FAKE_START_US = 1'000'000'000;

struct recorded_wait {
    us_time_t at = 0;       // when it began
    us_time_t duration = 0; // the pause, or the wait's time-out, in microseconds
    bool is_pause = false;
    std::set<int> readable{}; // descriptors in the read set
    std::set<int> writable{};
};

extern us_time_t fake_now_us;
extern std::vector<recorded_wait> recorded_waits;

// Called at the beginning of every pause and wait and after each step of time within, so that a
// simulated router can answer. May be empty.
extern std::function<void()> on_fake_wait;

// Back to the start, with nothing scheduled or recorded.
void reset_fake_clock();

// Runs the event when the counter reaches the time; events of one time run in order of scheduling.
void at_us(us_time_t time, std::function<void()> event);

// Moves the counter on, through the events on the way.
void advance_us(us_time_t interval);
