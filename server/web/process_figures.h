// What the system says of this process.
#pragma once

namespace web {

struct process_figures {
    double cpu_seconds = 0;
    double resident_bytes = 0;
    double virtual_bytes = 0;
    double open_descriptors = 0;
    double most_descriptors = 0;
    double started = 0; // seconds since 1970
};

// What cannot be read is 0.
process_figures read_process_figures();

} // namespace web
