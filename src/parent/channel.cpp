#include "parent/channel.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {
// Handlers that may be active at once. A parent that sends thousands of commands, each of which
// waits for the router, would otherwise exhaust the stack; its records wait in the pipe instead.
constexpr int MAX_ACTIVE_HANDLERS = 64;

// Written bytes that may stand at the front of parent_output. A parent that is always a little
// behind never lets it become empty, and it would grow for ever.
constexpr std::size_t MAX_WRITTEN_FRONT = 65536;
} // namespace

ParentRecord incoming_record;
std::string parent_line;
bool record_complete = false;
bool record_reset_pending = true;
bool parent_input_ended = false;
std::string parent_output;
std::size_t parent_output_written = 0;
int active_record_handlers = 0;
bool output_is_null_device = false;
bool diagnostics_are_null_device = false;

namespace {
parent_record_handler record_handler = nullptr;

bool is_null_device(int descriptor)
{
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISCHR(status.st_mode) &&
           status.st_rdev == makedev(1, 3);
}
} // namespace

int prepare_descriptor(int descriptor, bool non_blocking)
{
    struct stat status {};
    if (fstat(descriptor, &status) != 0) return -1;
    if (!S_ISFIFO(status.st_mode) && !S_ISCHR(status.st_mode) && !S_ISSOCK(status.st_mode))
        return -1;
    if (!non_blocking) return 0;
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags < 0) return -1;
    return fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) < 0 ? -1 : 0;
}

int prepare_parent_channel()
{
    if (prepare_descriptor(STDIN_FILENO, true) != 0) return -1;
    if (prepare_descriptor(STDOUT_FILENO, true) != 0) return -1;
    if (prepare_descriptor(STDERR_FILENO, false) != 0) return -1;
    if (stderr != nullptr) std::setbuf(stderr, nullptr);
    output_is_null_device = is_null_device(STDOUT_FILENO);
    diagnostics_are_null_device = is_null_device(STDERR_FILENO);
    return 0;
}

namespace {
void end_parent_line()
{
    if (!parent_line.empty()) {
        decode_record_line(incoming_record, parent_line);
        parent_line.clear();
    } else if (!incoming_record.command.empty() || !incoming_record.error.empty() ||
               !incoming_record.fields.empty()) {
        record_complete = true;
    }
}
} // namespace

int read_parent_byte()
{
    if (record_complete) return 0;
    if (record_reset_pending) {
        clear(incoming_record);
        record_reset_pending = false;
    }
    char byte = 0;
    const ssize_t count = read(STDIN_FILENO, &byte, 1);
    parent_input_ended = count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR);
    if (parent_input_ended) return -1;
    if (count < 0) return 0;
    if (byte == '\n') {
        end_parent_line();
    } else if (byte != '\r') {
        parent_line += byte;
    }
    return 0;
}

ParentRecord* next_parent_record()
{
    read_parent_byte();
    if (!record_complete) return nullptr;
    record_complete = false;
    record_reset_pending = true;
    return &incoming_record;
}

ParentRecord* parent_record_ready()
{
    return record_complete ? &incoming_record : nullptr;
}

void send_parent_record(const ParentRecord& record)
{
    encode_record(record, parent_output);
    flush_parent_output();
}

int flush_parent_output()
{
    if (parent_output.empty()) return 0;
    errno = 0; // whatever is found there afterwards is this write's
    const ssize_t count = write(STDOUT_FILENO, parent_output.data() + parent_output_written,
                                parent_output.size() - parent_output_written);
    if (count <= 0) return count < 0 && (errno == EINTR || errno == EAGAIN) ? 0 : -1;
    parent_output_written += static_cast<std::size_t>(count);
    if (parent_output_written == parent_output.size()) {
        parent_output.clear();
        parent_output_written = 0;
    } else if (parent_output_written > MAX_WRITTEN_FRONT &&
               parent_output_written > parent_output.size() / 2) {
        parent_output.erase(0, parent_output_written);
        parent_output_written = 0;
    }
    return 0;
}

int service_parent_channel()
{
    if (read_parent_byte() < 0) return -1;
    return flush_parent_output();
}

bool parent_output_pending()
{
    return !parent_output.empty();
}

void add_parent_descriptors(fd_set& readable, int& descriptor_count)
{
    FD_SET(STDIN_FILENO, &readable);
    if (!output_is_null_device) FD_SET(STDOUT_FILENO, &readable);
    if (!diagnostics_are_null_device) FD_SET(STDERR_FILENO, &readable);
    if (descriptor_count < 3) descriptor_count = 3;
}

void set_parent_record_handler(parent_record_handler handler)
{
    record_handler = handler;
}

void dispatch_parent_record()
{
    if (active_record_handlers == MAX_ACTIVE_HANDLERS) return;
    ParentRecord* const record = next_parent_record();
    if (record == nullptr || record_handler == nullptr) return;
    ++active_record_handlers;
    record_handler(*record);
    --active_record_handlers;
}

void service_parent_and_dispatch()
{
    service_parent_channel();
    dispatch_parent_record();
}
