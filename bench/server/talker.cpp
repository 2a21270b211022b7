// Stands in for a backend whose router never stops talking: says FRAMES_PER_SECOND frames on
// standard error, queries and their answers, and a stamped report after so many of them, until
// SIGUSR1 comes; then one more report and nothing. It reads its input and passes over it.
#include "bench/server/talker.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

#include "bench/server/stamp.h"
#include "common/numbers.h"
#include "support/frames.h"
#include "tools/common/descriptors.h"

using namespace bench;

namespace {
constexpr std::uint32_t BURST = FRAMES_PER_SECOND / 1000;
constexpr std::uint32_t DESTINATIONS = 256;

volatile std::sig_atomic_t silenced = 0;

void fall_silent(int /*signal*/)
{
    silenced = 1;
}

// What a backend writes about each frame; an answer that tells a route makes two lines.
struct frame_lines {
    std::string frame;
    std::string accepted; // empty: none
};

std::vector<frame_lines> lines_of_traffic()
{
    std::vector<frame_lines> lines;
    for (std::uint32_t i = 0; i < DESTINATIONS; ++i) {
        const std::string index = upper_hex(i + 1);
        const std::string answer = frame(body("IQ", {index, "0", "N", "N", "1"}));
        lines.push_back({"<DBG>Send to router: " + frame(body("QI", {index, "0"})) + "\n", ""});
        lines.push_back({"<DBG>Router: MSG " + answer.substr(1, answer.size() - 2) + "\n",
                         "<DBG>Accepting route change output=" + std::to_string(i) + " input=0\n"});
    }
    return lines;
}

std::uint64_t now_us(const timespec& time)
{
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000U +
           static_cast<std::uint64_t>(time.tv_nsec) / 1000U;
}

void report(stamp& last, std::uint32_t frames)
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    last = {now_us(now), last.number + 1, frames};
    common::write_all(1, stamped_report(last));
}

// Sleeps until a millisecond after the time, and moves it there. What comes late is made up for.
void await_next(timespec& time)
{
    time.tv_nsec += 1'000'000;
    if (time.tv_nsec >= 1'000'000'000) {
        time.tv_nsec -= 1'000'000'000;
        ++time.tv_sec;
    }
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr);
}
} // namespace

int main()
{
    std::signal(SIGUSR1, fall_silent);
    std::string error;
    common::set_nonblocking(0, error);
    const std::vector<frame_lines> lines = lines_of_traffic();
    stamp last;
    std::uint32_t said = 0;
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    while (silenced == 0) {
        for (std::uint32_t i = 0; i < BURST; ++i) {
            const frame_lines& next = lines[said++ % lines.size()];
            common::write_all(2, next.frame);
            if (!next.accepted.empty()) common::write_all(2, next.accepted);
        }
        if (said % FRAMES_PER_REPORT == 0) report(last, said);
        std::string ignored;
        common::read_available(0, ignored);
        await_next(time);
    }
    report(last, said);
    pause();
}
