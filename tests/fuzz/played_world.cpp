#include "fuzz/played_world.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

#include "fuzz/property.h"
#include "parent/channel.h"

namespace {
// Sockets have numbers far from those of the fuzzer's own files.
constexpr int FIRST_SOCKET = 60;
constexpr int SOCKET_NUMBERS = 10;

// No wait for the router keeps the parent waiting longer than discovery's stale input does.
constexpr us_time_t LONGEST_STALL_US = 7'000'000;
} // namespace

played_world world;

namespace {
bool is_played_socket(int descriptor)
{
    return world.open_sockets.contains(descriptor);
}
} // namespace

void parent_sends(const std::string& bytes)
{
    if (world.parent.input.bytes.empty()) world.parent_served_at = world.now;
    world.parent.input.bytes += bytes;
}

void set_attempt(connect_outcome outcome)
{
    if (world.open_sockets.empty() || world.established) return;
    world.attempt = outcome;
    world.established = outcome == connect_outcome::at_once || outcome == connect_outcome::later;
}

void router_sends(const std::string& bytes)
{
    if (world.established) world.router.input.bytes += bytes;
}

us_time_t now_us()
{
    return world.now;
}

namespace {
void step_towards(us_time_t end)
{
    world.now = world.next_event > world.now ? std::min(world.next_event, end) : end;
    world.play();
}
} // namespace

void pause_us(unsigned interval_us)
{
    const us_time_t end = world.now + interval_us;
    world.play();
    while (world.now < end)
        step_towards(end);
}

namespace {
bool readable_now(int descriptor)
{
    const bool is_parent = descriptor == STDIN_FILENO;
    if (!is_parent && !is_played_socket(descriptor)) return false;
    const played_input& input = is_parent ? world.parent.input : world.router.input;
    return !input.bytes.empty() || input.ended || !input.errors.empty();
}

bool writable_now(int descriptor)
{
    return is_played_socket(descriptor) && world.attempt != connect_outcome::never;
}

int keep_ready(fd_set* set, int descriptor_count, bool (*ready)(int))
{
    int count = 0;
    for (int i = 0; set != nullptr && i < descriptor_count; ++i) {
        if (!FD_ISSET(i, set)) continue;
        if (ready(i)) {
            ++count;
        } else {
            FD_CLR(i, set);
        }
    }
    return count;
}
} // namespace

int wait_for_descriptors(int descriptor_count, fd_set* readable, fd_set* writable, timeval timeout)
{
    const us_time_t end = world.now + static_cast<us_time_t>(timeout.tv_sec) * 1'000'000 +
                          static_cast<us_time_t>(timeout.tv_usec);
    world.play();
    if (world.interrupted_waits > 0) {
        --world.interrupted_waits;
        errno = EINTR;
        return -1;
    }
    for (;;) {
        fd_set still_readable;
        fd_set still_writable;
        FD_ZERO(&still_readable);
        FD_ZERO(&still_writable);
        if (readable != nullptr) still_readable = *readable;
        if (writable != nullptr) still_writable = *writable;
        const int ready = keep_ready(&still_readable, descriptor_count, readable_now) +
                          keep_ready(&still_writable, descriptor_count, writable_now);
        if (ready > 0 || world.now >= end) {
            if (readable != nullptr) *readable = still_readable;
            if (writable != nullptr) *writable = still_writable;
            return ready;
        }
        step_towards(end);
    }
}

namespace {
bool next_error(std::deque<int>& errors, int& error)
{
    if (errors.empty()) return false;
    error = errors.front();
    errors.pop_front();
    return error != 0;
}

ssize_t failed(int error)
{
    if (error == WRITES_NOTHING) return 0;
    errno = error;
    return -1;
}

ssize_t read_from(played_input& input, void* bytes, std::size_t length)
{
    int error = 0;
    if (next_error(input.errors, error)) return failed(error);
    if (input.bytes.empty()) return input.ended ? 0 : failed(EAGAIN);
    const std::size_t count = std::min({length, input.bytes.size(), input.longest_read});
    std::memcpy(bytes, input.bytes.data(), count);
    input.bytes.erase(0, count);
    return static_cast<ssize_t>(count);
}

ssize_t write_to(played_output& output, const void* bytes, std::size_t length)
{
    int error = 0;
    if (next_error(output.errors, error)) return failed(error);
    const std::size_t count = std::min({length, output.longest_write, output.room});
    if (count == 0) return failed(EAGAIN);
    output.bytes.append(static_cast<const char*>(bytes), count);
    if (output.room != SIZE_MAX) output.room -= count;
    return static_cast<ssize_t>(count);
}

ssize_t read_parent(void* bytes, std::size_t length)
{
    require(length == 1, "the parent is read byte by byte");
    require(active_record_handlers <= 64, "handlers are nested within their bound");
    require(world.parent.input.bytes.empty() ||
                world.now - world.parent_served_at <= LONGEST_STALL_US,
            "the parent is served within the longest deadline");
    world.parent_served_at = world.now;
    const ssize_t count = read_from(world.parent.input, bytes, length);
    if (count == 1) world.read_from_parent += *static_cast<const char*>(bytes);
    return count;
}

int make_socket()
{
    world.earlier_output.push_back(world.router.output.bytes);
    world.router = {};
    world.established = false;
    if (world.connecting == connect_outcome::no_socket) {
        errno = EMFILE;
        return -1;
    }
    const int descriptor = FIRST_SOCKET + world.sockets_made++ % SOCKET_NUMBERS;
    world.open_sockets.insert(descriptor);
    return descriptor;
}

int start_connecting()
{
    set_attempt(world.connecting);
    if (world.connecting == connect_outcome::at_once) return 0;
    errno = world.connecting == connect_outcome::refused_at_once ? ENETUNREACH : EINPROGRESS;
    return -1;
}
} // namespace

// The linker sends the calls of the whole program here (--wrap).
extern "C" {
ssize_t __real_read(int, void*, std::size_t);
ssize_t __real_write(int, const void*, std::size_t);
int __real_close(int);

ssize_t __wrap_read(int descriptor, void* bytes, std::size_t length)
{
    if (descriptor == STDIN_FILENO) return read_parent(bytes, length);
    if (is_played_socket(descriptor)) return read_from(world.router.input, bytes, length);
    return __real_read(descriptor, bytes, length);
}

ssize_t __wrap_write(int descriptor, const void* bytes, std::size_t length)
{
    if (descriptor == STDOUT_FILENO) return write_to(world.parent.output, bytes, length);
    return __real_write(descriptor, bytes, length);
}

ssize_t __wrap_send(int descriptor, const void* bytes, std::size_t length, int flags)
{
    require(is_played_socket(descriptor), "the router is written to through its own socket");
    require((flags & MSG_NOSIGNAL) != 0, "a broken link raises no signal");
    const ssize_t count = write_to(world.router.output, bytes, length);
    if (count > 0 && world.established)
        world.router_hears({static_cast<const char*>(bytes), static_cast<std::size_t>(count)});
    return count;
}

int __wrap_close(int descriptor)
{
    if (!is_played_socket(descriptor)) return __real_close(descriptor);
    if (world.failing_closes > 0) {
        --world.failing_closes;
        errno = EIO;
        return -1;
    }
    world.open_sockets.erase(descriptor);
    world.established = false;
    return 0;
}

int __wrap_socket(int, int type, int)
{
    require((type & SOCK_NONBLOCK) != 0 && (type & SOCK_CLOEXEC) != 0,
            "a socket does not block and stays in the process");
    return make_socket();
}

int __wrap_connect(int descriptor, const sockaddr*, socklen_t)
{
    require(is_played_socket(descriptor), "a socket of its own is connected");
    return start_connecting();
}

int __wrap_getsockopt(int, int, int, void* value, socklen_t*)
{
    const int error = world.attempt == connect_outcome::refused_later ? ECONNREFUSED : 0;
    std::memcpy(value, &error, sizeof error);
    return 0;
}
}
