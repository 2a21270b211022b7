#include "tools/common/descriptors.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace common {

namespace {
// What a pipe holds by default, so that one read usually empties it.
constexpr std::size_t READ_SIZE = 65536;
} // namespace

owned_descriptor::owned_descriptor(int descriptor) : number(descriptor)
{
}

owned_descriptor::owned_descriptor(owned_descriptor&& other) noexcept
    : number(std::exchange(other.number, -1))
{
}

owned_descriptor& owned_descriptor::operator=(owned_descriptor&& other) noexcept
{
    std::swap(number, other.number);
    return *this;
}

owned_descriptor::~owned_descriptor()
{
    reset();
}

void owned_descriptor::reset()
{
    if (number >= 0) close(number);
    number = -1;
}

void keep_standard_descriptors()
{
    int opened = -1;
    do
        opened = open("/dev/null", O_RDONLY | O_CLOEXEC);
    while (opened >= 0 && opened <= STDERR_FILENO);
    close(opened);
}

bool open_pipe(owned_descriptor& reads, owned_descriptor& writes, std::string& error)
{
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        error = std::strerror(errno);
        return false;
    }
    reads = owned_descriptor(ends[0]);
    writes = owned_descriptor(ends[1]);
    return true;
}

bool open_message_pipe(owned_descriptor& reads, owned_descriptor& writes, std::string& error)
{
    std::array<int, 2> ends = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        error = std::strerror(errno);
        return false;
    }
    reads = owned_descriptor(ends[0]);
    writes = owned_descriptor(ends[1]);
    // The system doubles it, where it does not allow less, and counts 768 bytes for a short
    // message.
    const int size = 524'288;
    setsockopt(writes.number, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
    return true;
}

bool set_nonblocking(int descriptor, std::string& error)
{
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags >= 0 && fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) == 0) return true;
    error = std::strerror(errno);
    return false;
}

read_outcome read_some(int descriptor, std::string& text)
{
    std::array<char, READ_SIZE> bytes;
    ssize_t count = -1;
    do {
        count = read(descriptor, bytes.data(), bytes.size());
    } while (count < 0 && errno == EINTR);
    if (count < 0 && errno == EAGAIN) return read_outcome::nothing_yet;
    if (count <= 0) return read_outcome::ended;
    text.append(bytes.data(), static_cast<std::size_t>(count));
    return read_outcome::read;
}

void read_to_end(int descriptor, std::string& text)
{
    while (read_some(descriptor, text) != read_outcome::ended) {
    }
}

bool read_available(int descriptor, std::string& text)
{
    read_outcome outcome = read_outcome::read;
    while (outcome == read_outcome::read)
        outcome = read_some(descriptor, text);
    return outcome == read_outcome::nothing_yet;
}

bool write_all(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) return false;
        if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

} // namespace common
