#include "parent_link/parent_link.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
// What a pipe holds by default, so that one read usually empties it.
constexpr std::size_t READ_SIZE = 65536;

void close_descriptor(int& descriptor)
{
    if (descriptor >= 0) close(descriptor);
    descriptor = -1;
}

void reset(parent_link& link)
{
    close_backend(link);
    link.unsent.clear();
    link.input_ending = false;
    link.reads_output = true;
    link.partial_output.clear();
    link.partial_diagnostics.clear();
    clear(link.partial_record);
    link.record_begun = false;
    link.records.clear();
    link.diagnostics.clear();
    link.ended = false;
    link.exit_status = -1;
    link.end_signal = 0;
}

// Opens one pipe; our end does not block. Returns 0 or an error number.
int open_pipe(int& our_end, int& backend_end, bool we_write)
{
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) < 0) return errno;
    our_end = ends[we_write ? 1 : 0];
    backend_end = ends[we_write ? 0 : 1];
    return fcntl(our_end, F_SETFL, O_NONBLOCK) < 0 ? errno : 0;
}

int open_pipes(parent_link& link, std::array<int, 3>& backend_ends)
{
    int error = open_pipe(link.input_fd, backend_ends[0], true);
    if (error == 0) error = open_pipe(link.output_fd, backend_ends[1], false);
    if (error == 0) error = open_pipe(link.diagnostics_fd, backend_ends[2], false);
    return error;
}

// The backend starts with default signals, whatever the caller ignores or blocks.
int spawn(parent_link& link, const std::string& program, const std::vector<std::string>& arguments,
          const std::array<int, 3>& ends)
{
    std::vector<std::string> words = {program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argument_list;
    argument_list.reserve(words.size() + 1);
    for (std::string& word : words)
        argument_list.push_back(word.data());
    argument_list.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int target = 0; target < 3; ++target)
        posix_spawn_file_actions_adddup2(&actions, ends[static_cast<std::size_t>(target)], target);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF |
                                              POSIX_SPAWN_SETSIGMASK);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    const int error = posix_spawn(&link.process, program.c_str(), &actions, &attributes,
                                  argument_list.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) link.process = -1;
    return error;
}
} // namespace

int start_backend(parent_link& link, const std::string& program,
                  const std::vector<std::string>& arguments)
{
    reset(link);
    signal(SIGPIPE, SIG_IGN);
    std::array<int, 3> backend_ends = {-1, -1, -1};
    int error = open_pipes(link, backend_ends);
    if (error == 0) error = spawn(link, program, arguments, backend_ends);
    for (int& end : backend_ends)
        close_descriptor(end);
    if (error == 0) {
        // The header of the C library 2.36 declares pidfd_open for C alone.
        link.process_fd = static_cast<int>(syscall(SYS_pidfd_open, link.process, 0));
        if (link.process_fd < 0) error = errno;
    }
    if (error != 0) close_backend(link);
    return error;
}

namespace {
void flush_input(parent_link& link)
{
    if (link.input_fd < 0) return;
    std::size_t written = 0;
    ssize_t count = 0;
    while (written < link.unsent.size() && count >= 0) {
        count = write(link.input_fd, &link.unsent[written], link.unsent.size() - written);
        if (count > 0) written += static_cast<std::size_t>(count);
    }
    const bool broken = count < 0 && errno != EAGAIN && errno != EINTR;
    link.unsent.erase(0, broken ? std::string::npos : written);
    if (broken || (link.input_ending && link.unsent.empty())) close_descriptor(link.input_fd);
}
} // namespace

void send_record(parent_link& link, const ParentRecord& record)
{
    std::string text;
    encode_record(record, text);
    send_bytes(link, text);
}

void send_bytes(parent_link& link, std::string_view bytes)
{
    if (link.input_fd < 0 || link.input_ending) return;
    link.unsent += bytes;
    flush_input(link);
}

void end_input(parent_link& link)
{
    link.input_ending = true;
    flush_input(link);
}

void close_output(parent_link& link)
{
    close_descriptor(link.output_fd);
}

void close_diagnostics(parent_link& link)
{
    close_descriptor(link.diagnostics_fd);
}

void send_signal(const parent_link& link, int signal_number)
{
    if (link.process > 0) kill(link.process, signal_number);
}

void add_poll_descriptors(const parent_link& link, std::vector<pollfd>& descriptors)
{
    if (link.process < 0) return;
    descriptors.push_back({link.process_fd, POLLIN, 0});
    if (link.output_fd >= 0 && link.reads_output)
        descriptors.push_back({link.output_fd, POLLIN, 0});
    if (link.diagnostics_fd >= 0) descriptors.push_back({link.diagnostics_fd, POLLIN, 0});
    if (!link.unsent.empty()) descriptors.push_back({link.input_fd, POLLOUT, 0});
}

namespace {
void take_output_line(parent_link& link, const std::string& line)
{
    if (!line.empty()) {
        decode_record_line(link.partial_record, line);
        link.record_begun = true;
    } else if (link.record_begun) {
        link.records.push_back(link.partial_record);
        clear(link.partial_record);
        link.record_begun = false;
    }
}

void take_diagnostics_line(parent_link& link, const std::string& line)
{
    link.diagnostics.push_back(line);
}
} // namespace

using line_taker = void (*)(parent_link&, const std::string&);

namespace {
// Hands out the lines that the bytes complete; the rest becomes the new partial line.
void take_lines(parent_link& link, std::string& partial, std::string_view bytes, line_taker take)
{
    for (;;) {
        const std::size_t end = bytes.find('\n');
        partial += bytes.substr(0, end);
        if (end == std::string_view::npos) return;
        take(link, partial);
        partial.clear();
        bytes.remove_prefix(end + 1);
    }
}

// Returns whether there may be more to read.
bool read_lines(parent_link& link, int& descriptor, std::string& partial, line_taker take)
{
    if (descriptor < 0) return false;
    std::array<char, READ_SIZE> buffer;
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count > 0) {
        take_lines(link, partial, {buffer.data(), static_cast<std::size_t>(count)}, take);
        return true;
    }
    const bool later = count < 0 && (errno == EAGAIN || errno == EINTR);
    if (!later) close_descriptor(descriptor);
    return false;
}

bool read_output(parent_link& link)
{
    return read_lines(link, link.output_fd, link.partial_output, take_output_line);
}

bool read_diagnostics(parent_link& link)
{
    return read_lines(link, link.diagnostics_fd, link.partial_diagnostics, take_diagnostics_line);
}

void take_status(parent_link& link, int status)
{
    if (WIFSIGNALED(status))
        link.end_signal = WTERMSIG(status);
    else
        link.exit_status = WEXITSTATUS(status);
    link.process = -1;
}

void close_descriptors(parent_link& link)
{
    close_descriptor(link.process_fd);
    close_descriptor(link.input_fd);
    close_descriptor(link.output_fd);
    close_descriptor(link.diagnostics_fd);
    link.unsent.clear();
}

// The process is gone, so the pipes hold all that it ever wrote.
void finish(parent_link& link)
{
    while (read_output(link)) {
    }
    while (read_diagnostics(link)) {
    }
    if (!link.partial_diagnostics.empty())
        take_lines(link, link.partial_diagnostics, "\n", take_diagnostics_line);
    close_descriptors(link);
    link.ended = true;
}
} // namespace

void serve_backend(parent_link& link)
{
    if (link.process < 0) return;
    flush_input(link);
    if (link.reads_output) read_output(link);
    read_diagnostics(link);
    int status = 0;
    if (waitpid(link.process, &status, WNOHANG) != link.process) return;
    take_status(link, status);
    finish(link);
}

namespace {
bool poll_and_serve(parent_link& link, std::chrono::steady_clock::time_point deadline)
{
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() < 0) return false;
    std::vector<pollfd> descriptors;
    add_poll_descriptors(link, descriptors);
    const int ready = poll(descriptors.data(), descriptors.size(), static_cast<int>(left.count()));
    serve_backend(link);
    return ready != 0;
}
} // namespace

bool wait_for_event(parent_link& link, std::chrono::milliseconds time_out)
{
    const auto deadline = std::chrono::steady_clock::now() + time_out;
    const std::size_t records = link.records.size();
    const std::size_t lines = link.diagnostics.size();
    while (link.process > 0) {
        const bool in_time = poll_and_serve(link, deadline);
        if (link.records.size() > records || link.diagnostics.size() > lines || link.ended)
            return true;
        if (!in_time) return false;
    }
    return false;
}

bool wait_until(parent_link& link, std::chrono::milliseconds time_out,
                const std::function<bool()>& done)
{
    const auto deadline = std::chrono::steady_clock::now() + time_out;
    while (!done()) {
        if (link.process < 0 || !poll_and_serve(link, deadline)) return done();
    }
    return true;
}

std::string describe_end(const parent_link& link)
{
    if (!link.ended) return link.process > 0 ? "runs" : "has not been started";
    if (link.end_signal == 0) return "exited with status " + std::to_string(link.exit_status);
    return "was ended by signal " + std::to_string(link.end_signal) + " (" +
           strsignal(link.end_signal) + ")";
}

void close_backend(parent_link& link)
{
    if (link.process > 0) {
        kill(link.process, SIGKILL);
        int status = 0;
        while (waitpid(link.process, &status, 0) < 0 && errno == EINTR) {
        }
        take_status(link, status);
        finish(link);
    }
    close_descriptors(link);
}

parent_link::~parent_link()
{
    close_backend(*this);
}
