// Programs started on descriptors that the test chooses, and the conversation with one that speaks
// in lines.
#pragma once

#include <array>
#include <deque>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

// A descriptor, closed with the record.
struct owned_descriptor {
    int number = -1; // -1: none

    explicit owned_descriptor(int descriptor = -1);
    owned_descriptor(owned_descriptor&& other) noexcept;
    owned_descriptor& operator=(owned_descriptor&& other) noexcept;
    ~owned_descriptor();
    void reset();
};

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

struct child_process {
    pid_t process = -1; // -1 when none runs

    child_process() = default;
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;
    ~child_process(); // kills one that still runs
};

// Starts the program, found along the path, with these as its descriptors 0, 1 and 2; -1 leaves
// one closed. Signals are at their defaults.
void start_child(child_process& child, const std::vector<std::string>& words,
                 const std::array<int, 3>& descriptors);

// The path of a program of this build, by its name: they stand in the folder of the tests
// themselves.
std::string built_program(const std::string& name);

// The backend as the tests start it: the program itself, or in its place the one that the
// environment names in BACKEND_LAUNCHER, which runs it (with a memory checker, say).
std::string backend_program();

// Waits for its end: the exit status, or the negated number of the signal that ended it.
int status_at_end(child_process& child);

// A program that reads lines and writes lines; its standard error is the test's own.
struct line_program {
    child_process child;
    owned_descriptor input;
    owned_descriptor output;
    std::string partial;           // the beginning of a line
    std::deque<std::string> lines; // oldest first; the caller takes them out
};

void start_line_program(line_program& program, const std::vector<std::string>& words);
void add_poll_descriptor(const line_program& program, std::vector<pollfd>& descriptors);
// Reads what there is without waiting. At the end of file, output is closed.
void serve_line_program(line_program& program);
