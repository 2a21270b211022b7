// Takes one after the other on one router, while its link is idle.
#pragma once

#include <map>
#include <string>

#include "bench/workloads/measured_program.h"

namespace bench {

constexpr double CYCLE_MS = 520; // of polling

struct taker {
    running_program program;
    double last_cycle = 0; // when the backend's last polling cycle ended
    double last_take = 0;
    int source = 0; // on destination 1
};

// Of its router.
std::map<std::string, std::string> taker_answers();

// To be called again and again: sees when a polling cycle has ended.
void watch_cycle(taker& taker);

// Nothing of the take before holds this one back.
bool may_take(const taker& taker);
// Nor does the polling.
bool is_quiet(const taker& taker);

// The router shows the next source as soon as it is asked, and has shown the one before until now.
void prepare_take(taker& taker);

} // namespace bench
