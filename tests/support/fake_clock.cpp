#include "support/fake_clock.h"

#include <cstdio>
#include <cstdlib>
#include <map>

us_time_t fake_now_us = FAKE_START_US;
std::vector<recorded_wait> recorded_waits;
std::function<void()> on_fake_wait;

namespace {
std::multimap<us_time_t, std::function<void()>> scheduled_events;

// A backend that waits this often in one test is in an endless loop.
constexpr std::size_t MAX_WAITS = 1'000'000;
} // namespace

void reset_fake_clock()
{
    fake_now_us = FAKE_START_US;
    recorded_waits.clear();
    on_fake_wait = nullptr;
    scheduled_events.clear();
}

void at_us(us_time_t time, std::function<void()> event)
{
    scheduled_events.emplace(time, std::move(event));
}

namespace {
// Runs what is due at the counter's time. Returns whether anything was.
bool run_due_events()
{
    bool any = false;
    while (!scheduled_events.empty() && scheduled_events.begin()->first <= fake_now_us) {
        const auto event = std::move(scheduled_events.begin()->second);
        scheduled_events.erase(scheduled_events.begin());
        event();
        any = true;
    }
    return any;
}

// Moves the counter to the next event, or to the end where none comes before it.
void step_towards(us_time_t end)
{
    const bool event_first = !scheduled_events.empty() && scheduled_events.begin()->first < end;
    fake_now_us = event_first ? std::max(fake_now_us, scheduled_events.begin()->first) : end;
    run_due_events();
    if (on_fake_wait) on_fake_wait();
}
} // namespace

void advance_us(us_time_t interval)
{
    const us_time_t end = fake_now_us + interval;
    run_due_events();
    while (fake_now_us < end)
        step_towards(end);
}

namespace {
std::set<int> members(const fd_set* set, int descriptor_count)
{
    std::set<int> descriptors;
    for (int i = 0; set != nullptr && i < descriptor_count; ++i)
        if (FD_ISSET(i, set)) descriptors.insert(i);
    return descriptors;
}

void record(recorded_wait wait)
{
    if (recorded_waits.size() == MAX_WAITS) {
        std::fprintf(stderr, "endless loop: %zu waits in one test\n", MAX_WAITS);
        std::abort();
    }
    recorded_waits.push_back(std::move(wait));
}
} // namespace

us_time_t now_us()
{
    return fake_now_us;
}

void pause_us(unsigned interval_us)
{
    record({.at = fake_now_us, .duration = interval_us, .is_pause = true});
    if (on_fake_wait) on_fake_wait();
    advance_us(interval_us);
}

int wait_for_descriptors(int descriptor_count, fd_set* readable, fd_set* writable, timeval timeout)
{
    const us_time_t duration = static_cast<us_time_t>(timeout.tv_sec) * 1'000'000 +
                               static_cast<us_time_t>(timeout.tv_usec);
    record({.at = fake_now_us,
            .duration = duration,
            .readable = members(readable, descriptor_count),
            .writable = members(writable, descriptor_count)});
    if (on_fake_wait) on_fake_wait();
    const us_time_t end = fake_now_us + duration;
    run_due_events();
    for (;;) {
        fd_set ready_to_read;
        fd_set ready_to_write;
        FD_ZERO(&ready_to_read);
        FD_ZERO(&ready_to_write);
        if (readable != nullptr) ready_to_read = *readable;
        if (writable != nullptr) ready_to_write = *writable;
        timeval at_once = {0, 0};
        const int ready =
            select(descriptor_count, &ready_to_read, &ready_to_write, nullptr, &at_once);
        if (ready != 0 || fake_now_us >= end) {
            if (readable != nullptr) *readable = ready_to_read;
            if (writable != nullptr) *writable = ready_to_write;
            return ready;
        }
        step_towards(end);
    }
}
