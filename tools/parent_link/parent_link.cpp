#include "parent_link/parent_link.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

#include "tools/common/lines.h"

namespace parent_link {

namespace {
void reset(backend_link& link)
{
    close_backend(link);
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

bool watch_end(backend_link& link, std::string& error)
{
    // The header of the C library 2.36 declares pidfd_open for C alone.
    link.process_fd =
        common::owned_descriptor(static_cast<int>(syscall(SYS_pidfd_open, link.child.process, 0)));
    if (link.process_fd.number >= 0) return true;
    error = std::strerror(errno);
    return false;
}
} // namespace

bool start_backend(backend_link& link, const std::string& program,
                   const std::vector<std::string>& arguments, std::string& error)
{
    reset(link);
    signal(SIGPIPE, SIG_IGN);
    std::vector<std::string> words = {program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const auto errors =
        link.keeps_messages ? common::error_output::messages : common::error_output::piped;
    if (common::start_on_pipes(link.child, link.pipes, words, errors, error) &&
        common::set_nonblocking(link.pipes.input.number, error) &&
        common::set_nonblocking(link.pipes.output.number, error) &&
        common::set_nonblocking(link.pipes.errors.number, error) && watch_end(link, error))
        return true;
    reset(link);
    return false;
}

namespace {
void flush_input(backend_link& link)
{
    const int input = link.pipes.input.number;
    if (input < 0) return;
    std::size_t written = 0;
    ssize_t count = 0;
    while (written < link.unsent.size() && count >= 0) {
        count = write(input, &link.unsent[written], link.unsent.size() - written);
        if (count > 0) written += static_cast<std::size_t>(count);
    }
    const bool broken = count < 0 && errno != EAGAIN && errno != EINTR;
    link.unsent.erase(0, broken ? std::string::npos : written);
    if (broken || (link.input_ending && link.unsent.empty())) link.pipes.input.reset();
}
} // namespace

void send_record(backend_link& link, const ParentRecord& record)
{
    std::string text;
    encode_record(record, text);
    send_bytes(link, text);
}

void send_bytes(backend_link& link, std::string_view bytes)
{
    if (link.pipes.input.number < 0 || link.input_ending) return;
    link.unsent += bytes;
    flush_input(link);
}

void end_input(backend_link& link)
{
    link.input_ending = true;
    flush_input(link);
}

void close_output(backend_link& link)
{
    link.pipes.output.reset();
}

void close_diagnostics(backend_link& link)
{
    link.pipes.errors.reset();
}

void send_signal(const backend_link& link, int signal_number)
{
    if (link.child.process > 0) kill(link.child.process, signal_number);
}

void add_poll_descriptors(const backend_link& link, std::vector<pollfd>& descriptors)
{
    if (link.child.process < 0) return;
    descriptors.push_back({link.process_fd.number, POLLIN, 0});
    if (link.pipes.output.number >= 0 && link.reads_output)
        descriptors.push_back({link.pipes.output.number, POLLIN, 0});
    if (link.pipes.errors.number >= 0) descriptors.push_back({link.pipes.errors.number, POLLIN, 0});
    if (!link.unsent.empty()) descriptors.push_back({link.pipes.input.number, POLLOUT, 0});
}

namespace {
void add_output_line(backend_link& link, const std::string& line)
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

// Appends the lines of one read. Returns whether there may be more to read.
bool read_lines(common::owned_descriptor& descriptor, std::string& partial,
                std::deque<std::string>& lines)
{
    if (descriptor.number < 0) return false;
    std::string bytes;
    const common::read_outcome outcome = common::read_some(descriptor.number, bytes);
    common::cut_lines(bytes, partial, lines);
    if (outcome == common::read_outcome::ended) descriptor.reset();
    return outcome == common::read_outcome::read;
}

bool read_output(backend_link& link)
{
    std::deque<std::string> lines;
    const bool more = read_lines(link.pipes.output, link.partial_output, lines);
    for (const std::string& line : lines)
        add_output_line(link, line);
    return more;
}

// One entry. Whatever does not end a line, as from what watches the backend's memory, is only the
// beginning of one.
common::read_outcome read_message(backend_link& link)
{
    const common::read_outcome outcome =
        common::read_some(link.pipes.errors.number, link.partial_diagnostics);
    std::string& text = link.partial_diagnostics;
    if (outcome != common::read_outcome::read) return outcome;
    if (text.ends_with('\n'))
        text.pop_back();
    else if (text.size() <= common::LONGEST_LINE)
        return outcome;
    link.diagnostics.push_back(std::exchange(text, {}));
    return outcome;
}

// All that stood there when it began.
bool read_messages(backend_link& link)
{
    if (link.pipes.errors.number < 0) return false;
    auto outcome = common::read_outcome::read;
    for (std::size_t i = 0; i < common::MESSAGES_BETWEEN && outcome == common::read_outcome::read;
         ++i)
        outcome = read_message(link);
    if (outcome == common::read_outcome::ended) link.pipes.errors.reset();
    return outcome == common::read_outcome::read;
}

bool read_diagnostics(backend_link& link)
{
    if (link.keeps_messages) return read_messages(link);
    return read_lines(link.pipes.errors, link.partial_diagnostics, link.diagnostics);
}

// The process is gone, with this status or negated signal, so the pipes hold all that it ever
// wrote.
void finish(backend_link& link, int status)
{
    if (status < 0)
        link.end_signal = -status;
    else
        link.exit_status = status;
    while (read_output(link)) {
    }
    while (read_diagnostics(link)) {
    }
    if (!link.partial_diagnostics.empty())
        common::cut_lines("\n", link.partial_diagnostics, link.diagnostics);
    link.process_fd.reset();
    link.pipes = {};
    link.unsent.clear();
    link.ended = true;
}
} // namespace

void serve_backend(backend_link& link)
{
    if (link.child.process < 0) return;
    flush_input(link);
    if (link.reads_output) read_output(link);
    read_diagnostics(link);
    if (const auto status = common::status_if_ended(link.child)) finish(link, *status);
}

namespace {
// Serves what there is also when the time is over. Returns whether it is not and something came.
bool poll_and_serve(backend_link& link, std::chrono::steady_clock::time_point deadline)
{
    const auto left = std::max(
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()),
        std::chrono::milliseconds(0));
    std::vector<pollfd> descriptors;
    add_poll_descriptors(link, descriptors);
    const int ready = poll(descriptors.data(), descriptors.size(), static_cast<int>(left.count()));
    serve_backend(link);
    return ready != 0 && left.count() > 0;
}
} // namespace

bool wait_for_event(backend_link& link, std::chrono::milliseconds time_out)
{
    const auto deadline = std::chrono::steady_clock::now() + time_out;
    const std::size_t records = link.records.size();
    const std::size_t lines = link.diagnostics.size();
    while (link.child.process > 0) {
        const bool in_time = poll_and_serve(link, deadline);
        if (link.records.size() > records || link.diagnostics.size() > lines || link.ended)
            return true;
        if (!in_time) return false;
    }
    return false;
}

bool wait_until(backend_link& link, std::chrono::milliseconds time_out,
                const std::function<bool()>& done)
{
    const auto deadline = std::chrono::steady_clock::now() + time_out;
    while (!done()) {
        if (link.child.process < 0 || !poll_and_serve(link, deadline)) return done();
    }
    return true;
}

std::string describe_end(const backend_link& link)
{
    if (!link.ended) return link.child.process > 0 ? "runs" : "has not been started";
    if (link.end_signal == 0) return "exited with status " + std::to_string(link.exit_status);
    return "was ended by signal " + std::to_string(link.end_signal) + " (" +
           strsignal(link.end_signal) + ")";
}

void close_backend(backend_link& link)
{
    if (link.child.process < 0) return;
    kill(link.child.process, SIGKILL);
    finish(link, common::status_at_end(link.child));
}

} // namespace parent_link
