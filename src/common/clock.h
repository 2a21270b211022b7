// The seam of time and waiting: reading the clock, pausing, and waiting for descriptors. No other
// file asks the system for any of them. The three are one translation unit without other contents,
// so that a test program that defines them itself links its own in their place.
#pragma once

#include <cstdint>
#include <sys/select.h>
#include <sys/time.h>

// Microseconds on the monotonic clock, unrelated to wall-clock time. Deadlines and due times are
// absolute values compared as unsigned numbers; sums may wrap.
using us_time_t = std::uint64_t;

// What now_us returns when the clock cannot be read: a time far in the future.
constexpr us_time_t UNREADABLE_CLOCK_US = UINT64_MAX / 1000;

us_time_t now_us();

void pause_us(unsigned interval_us);

// One select() call without exception set; either set may be null. Returns what select returns.
int wait_for_descriptors(int descriptor_count, fd_set* readable, fd_set* writable, timeval timeout);
