// What a disk and a clock do wrong in a program that runs with system_faults.so (system_faults.cpp)
// loaded before the C library: the record stands in a file that the test and the program map.
#pragma once

#include <atomic>
#include <cstdint>

// All of it may be set at any time.
struct system_faults {
    // Of what is below the folder: the errno with which each call fails; 0: it does not.
    std::atomic<int> write_error{};      // writing, changing the size
    std::atomic<int> sync_error{};       // what has been written is to reach the disk
    std::atomic<std::int64_t> sync_ms{}; // for which that lasts; read again meanwhile
    std::atomic<int> syncing{};          // how many wait for it at present
    std::atomic<int> failed{};           // calls, so far

    std::atomic<std::int64_t> clock_behind_s{}; // of the wall clock
};
