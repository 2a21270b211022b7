// Programs that we start, on descriptors that we choose or on pipes.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "tools/common/descriptors.h"

namespace common {

struct child_process {
    pid_t process = -1; // -1 when none runs

    child_process() = default;
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;
    ~child_process(); // kills one that still runs
};

// Starts the program words[0], found along the path, with these as its descriptors 0, 1 and 2; -1
// leaves one closed. It runs in a process group of its own, so that the keyboard's signals do not
// reach it, and no signal is ignored or blocked. False, with the reason, when it cannot be run.
// Descriptors 0, 1 and 2 of the caller must be open.
bool start_child(child_process& child, const std::vector<std::string>& words,
                 const std::array<int, 3>& descriptors, std::string& error);

enum class error_output {
    inherited,
    discarded,
    piped,
    messages, // piped, with what each write wrote kept apart
};

// Our ends of a program's pipes; they block.
struct child_pipes {
    owned_descriptor input;  // writes to its standard input
    owned_descriptor output; // reads its standard output
    owned_descriptor errors; // reads its standard error where that is piped
};

// The same with a pipe at each of its standard descriptors. On failure there are no pipes.
bool start_on_pipes(child_process& child, child_pipes& pipes, const std::vector<std::string>& words,
                    error_output errors, std::string& error);

// Waits for its end: the exit status, or the negated number of the signal that ended it. One must
// run.
int status_at_end(child_process& child);

// The same without waiting; nothing while it runs.
std::optional<int> status_if_ended(child_process& child);

} // namespace common
