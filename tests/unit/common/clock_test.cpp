// The real clock, with the system calls beneath it replaced by the linker (--wrap). A program of
// its own, because the other tests run under the fake clock.

#include <cerrno>
#include <ctime>
#include <gtest/gtest.h>
#include <optional>
#include <unistd.h>
#include <vector>

#include "common/clock.h"

namespace {
struct select_call {
    int descriptor_count;
    fd_set* readable;
    fd_set* writable;
    fd_set* exceptional;
    long seconds;
    long microseconds;
};

std::optional<timespec> clock_reading; // empty: the clock cannot be read
std::vector<clockid_t> clocks_read;
std::vector<useconds_t> pauses;
std::vector<select_call> waits;
int wait_result = 0;
} // namespace

extern "C" {
int __wrap_clock_gettime(clockid_t clock, timespec* time)
{
    clocks_read.push_back(clock);
    if (!clock_reading) return -1;
    *time = *clock_reading;
    return 0;
}

int __wrap_usleep(useconds_t interval)
{
    pauses.push_back(interval);
    return 0;
}

// Uses the time-out up, as select does.
int __wrap_select(int descriptor_count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                  timeval* timeout)
{
    waits.push_back(
        {descriptor_count, readable, writable, exceptional, timeout->tv_sec, timeout->tv_usec});
    *timeout = {};
    return wait_result;
}
}

TEST(Clock, CountsMicrosecondsOfTheMonotonicClock)
{
    clocks_read.clear();
    clock_reading = {.tv_sec = 12, .tv_nsec = 345'678'999};
    EXPECT_EQ(now_us(), 12'345'678U);
    EXPECT_EQ(clocks_read, std::vector<clockid_t>{CLOCK_MONOTONIC});
}

TEST(Clock, CountsBeyond32Bits)
{
    clock_reading = {.tv_sec = 10'000'000, .tv_nsec = 999};
    EXPECT_EQ(now_us(), 10'000'000'000'000U);
    clock_reading = {.tv_sec = 10'000'000, .tv_nsec = 1000};
    EXPECT_EQ(now_us(), 10'000'000'000'001U);
}

// The formula's product is 64 bits wide: it wraps before the division.
TEST(Clock, WrapsInNanosecondsBeforeItDivides)
{
    clock_reading = {.tv_sec = 18'446'744'073, .tv_nsec = 709'551'615};
    EXPECT_EQ(now_us(), 18'446'744'073'709'551U);
    clock_reading = {.tv_sec = 18'446'744'073, .tv_nsec = 709'552'616};
    EXPECT_EQ(now_us(), 1U);
}

TEST(Clock, IsFarInTheFutureWhenItCannotBeRead)
{
    clock_reading.reset();
    EXPECT_EQ(now_us(), 18'446'744'073'709'551U);
}

TEST(Pause, SleepsOnceForTheWholeInterval)
{
    pauses.clear();
    pause_us(10'000);
    EXPECT_EQ(pauses, std::vector<useconds_t>{10'000});
}

TEST(Wait, IsOneSelectWithoutExceptionSet)
{
    waits.clear();
    wait_result = 2;
    fd_set readable;
    fd_set writable;
    FD_ZERO(&readable);
    FD_ZERO(&writable);
    EXPECT_EQ(wait_for_descriptors(7, &readable, &writable, {3, 250'000}), 2);
    ASSERT_EQ(waits.size(), 1U);
    EXPECT_EQ(waits[0].descriptor_count, 7);
    EXPECT_EQ(waits[0].readable, &readable);
    EXPECT_EQ(waits[0].writable, &writable);
    EXPECT_EQ(waits[0].exceptional, nullptr);
    EXPECT_EQ(waits[0].seconds, 3);
    EXPECT_EQ(waits[0].microseconds, 250'000);
}

TEST(Wait, PassesAnErrorOn)
{
    wait_result = -1;
    EXPECT_EQ(wait_for_descriptors(1, nullptr, nullptr, {0, 0}), -1);
}

TEST(Wait, UsesUpACopyOfTheTimeout)
{
    waits.clear();
    constexpr timeval TIMEOUT = {0, 250'000};
    wait_for_descriptors(1, nullptr, nullptr, TIMEOUT);
    wait_for_descriptors(1, nullptr, nullptr, TIMEOUT);
    ASSERT_EQ(waits.size(), 2U);
    EXPECT_EQ(waits[1].microseconds, 250'000);
}
