// The clock of the pieces: time stands still and no wait lasts, so that only work is measured. It
// makes the same select call as the real one and, unlike the clock of the tests, allocates nothing.

#include "common/clock.h"

namespace {
// Far enough from 0 that an absolute time of 0 is the past.
constexpr us_time_t STOPPED_AT_US = 1'000'000'000;
} // namespace

us_time_t now_us()
{
    return STOPPED_AT_US;
}

void pause_us(unsigned /*interval_us*/)
{
}

int wait_for_descriptors(int descriptor_count, fd_set* readable, fd_set* writable,
                         timeval /*timeout*/)
{
    timeval at_once = {0, 0};
    return select(descriptor_count, readable, writable, nullptr, &at_once);
}
