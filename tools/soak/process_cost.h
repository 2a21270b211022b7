// What a process holds at this moment, as the system counts it.
#pragma once

#include <cstdint>
#include <optional>
#include <sys/types.h>

namespace soak {

struct process_cost {
    std::uint64_t pss_kib = 0;  // memory, with a share of what others use as well
    std::uint64_t heap_kib = 0; // the part of it that the process has asked for
    std::uint64_t descriptors = 0;
};

// Nothing when there is no such process.
std::optional<process_cost> read_process_cost(pid_t process);

} // namespace soak
