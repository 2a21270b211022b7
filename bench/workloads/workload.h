// The workloads that are measured. Each starts the backend and its floor anew and turns
// from one to the other, or has both do little at the same time; only fleets of different size
// follow each other. None depends on how fast the machine is. All throw when a program cannot be
// started, ends or does not answer.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bench/figure.h"
#include "bench/workloads/measured_program.h"
#include "tools/common/text_table.h"

namespace bench {

struct bench_plan {
    program_paths programs;
    bool quick = false; // few repetitions: shows that it works, not how fast it is
    // For people: how far a step of the workload is. Called at its beginning with 0.
    std::function<void(const char* step, std::size_t done, std::size_t all)> progress;
};

struct measurements {
    std::vector<figure> figures;
    std::vector<common::text_table> tables;
};

// From the last byte of a flush to the route change at the router, the link being idle.
measurements measure_take(const bench_plan& plan);

// Records answered in a second when they come as fast as they are read, and what one costs.
measurements measure_commands(const bench_plan& plan);

// What a polling cycle costs when nothing changes, and its system calls.
measurements measure_status(const bench_plan& plan);

// From the connection to the record that tells what the router is, and what waiting for it costs.
measurements measure_discovery(const bench_plan& plan);

// What 256 route changes at once cost until they are reported to the parent.
measurements measure_report(const bench_plan& plan);

// From the start of the program to its first record.
measurements measure_start(const bench_plan& plan);

// What the program holds, at rest and after the traffic of a day.
measurements measure_memory(const bench_plan& plan);

// How cost grows with the number of backends on one machine.
measurements measure_fleet(const bench_plan& plan);

// From a wish to the take at the router and to its confirmation, through desk and routers, beside a
// backend that a plain parent sends the same records.
measurements measure_wish(const bench_plan& plan);

// What a desk with many routers costs beside their backends, while nothing but polling goes on.
measurements measure_routers(const bench_plan& plan);

// Whether the desk is told of everything, and in time, when a router never stops talking.
measurements measure_trace(const bench_plan& plan);

// What many routers take in a desk, and what a report of their routes costs it.
measurements measure_desk(const bench_plan& plan);

// How long a page of a long history takes, whatever it is filtered by.
measurements measure_history(const bench_plan& plan);

// How late answers and followers are when a control server has many of them and many takes.
measurements measure_control(const bench_plan& plan);

// What the parts of the program cost by themselves, without any system call.
measurements measure_pieces(const bench_plan& plan);

} // namespace bench
