#include "common/clock.h"

#include <ctime>
#include <unistd.h>

us_time_t now_us()
{
    timespec time{};
    if (clock_gettime(CLOCK_MONOTONIC, &time) != 0) return UNREADABLE_CLOCK_US;
    return (static_cast<us_time_t>(time.tv_sec) * 1'000'000'000 +
            static_cast<us_time_t>(time.tv_nsec)) /
           1000;
}

void pause_us(unsigned interval_us)
{
    usleep(interval_us);
}

int wait_for_descriptors(int descriptor_count, fd_set* readable, fd_set* writable, timeval timeout)
{
    return select(descriptor_count, readable, writable, nullptr, &timeout);
}
