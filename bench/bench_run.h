// All that one run of the benchmarks has found, and the JSON file in which it is kept so that the
// next run can be compared with it:
//   {"commit": ..., "machine": {"cores": ..., "processor": ..., "kernel": ...},
//    "figures": [{"workload": ..., "measure": ..., "unit": ..., "ours": ..., "better": "less"}]}
// A figure has "floor", "ratio", "ratio_low", "ratio_high", "aim" and "limit" where they are
// known.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "bench/figure.h"
#include "tools/common/text_table.h"

namespace bench {

// What figures depend on, without anything that tells whose machine it is.
struct machine_facts {
    unsigned cores = 0;
    std::string processor; // the model's name, "unknown" where the system tells none
    std::string kernel;    // its version, without what its builder has added
};

struct bench_run {
    std::string commit;
    machine_facts machine;
    std::vector<figure> figures;
    std::vector<common::text_table> tables; // not kept in the file
};

machine_facts this_machine();

// Ends with a newline.
std::string run_json(const bench_run& run);

// The run kept in that file. Without the file, or when it is damaged, one line in `complaints`
// says so and there is nothing to compare with.
std::optional<bench_run> load_run(const std::string& path, std::ostream& complaints);

} // namespace bench
