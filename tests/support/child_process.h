// Programs started on descriptors that the test chooses. What cannot be done throws.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "tools/common/child_process.h"
#include "tools/common/line_program.h"

using common::child_process;
using common::line_program;
using common::owned_descriptor;

// Two ends of one connection, the second for a child. Both are close-on-exec.
struct descriptor_pair {
    owned_descriptor ours;
    owned_descriptor childs;
};

descriptor_pair pipe_to_child();
descriptor_pair pipe_from_child();
descriptor_pair socket_pair();
descriptor_pair pseudo_terminal(); // in raw mode: bytes pass as they are

// Everything until the end of file, which a pseudo terminal reports as an error.
std::string read_to_end(int descriptor);
// Blocks until all of it is written.
void write_all(int descriptor, std::string_view bytes);

// As common::start_child.
void start_child(child_process& child, const std::vector<std::string>& words,
                 const std::array<int, 3>& descriptors);

// The path of a program of this build, by its name: they stand in the folder of the tests
// themselves.
std::string built_program(const std::string& name);

// The backend as the tests start it: the program itself, or in its place the one that the
// environment names in BACKEND_LAUNCHER, which runs it (with a memory checker, say).
std::string backend_program();
