// A program that reads lines and writes lines, such as the simulated router.
#pragma once

#include <cstdint>
#include <deque>
#include <poll.h>
#include <string>
#include <string_view>
#include <vector>

#include "tools/common/child_process.h"

namespace common {

// Its standard error is our own.
struct line_program {
    child_process child;
    owned_descriptor input;
    owned_descriptor output;       // does not block; none once it has ended
    std::string partial;           // the beginning of a line
    std::deque<std::string> lines; // oldest first; the caller removes them
};

// False, with the reason, when it cannot be run.
bool start_line_program(line_program& program, const std::vector<std::string>& words,
                        std::string& error);

void add_poll_descriptor(const line_program& program, std::vector<pollfd>& descriptors);

// Reads what there is without waiting.
void serve_line_program(line_program& program);

// The port in "Listening on 127.0.0.1:4567", the simulated router's first line. False for any other
// line.
bool read_announced_port(std::string_view line, std::uint16_t& port);

// Starts the simulated router, which is this program, on a free port and waits until it listens.
// Its first line stays among the lines. It ends with us. False, with the reason, when it cannot be
// run or ends first.
bool start_simulated_router(line_program& router, const std::string& program,
                            const std::vector<std::string>& options, std::uint16_t& port,
                            std::string& error);

} // namespace common
