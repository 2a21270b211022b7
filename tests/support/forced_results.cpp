#include "support/forced_results.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <deque>
#include <map>
#include <sys/socket.h>
#include <sys/stat.h>
#include <utility>

namespace {
struct forced_result {
    ssize_t result = 0;
    int error_number = 0;
    std::size_t limit = 0; // 0: the result is forced; else the call is made with this length
};

struct call_statistics {
    std::size_t count = 0;
    std::size_t greatest_length = 0;
};

using call_key = std::pair<SystemCall, int>;
} // namespace

std::function<int(int, const sockaddr_in&)> on_connect;

namespace {
// Never destroyed: coverage counters are written, by these very calls, after the last destructor.
auto& forced_results = *new std::map<call_key, std::deque<forced_result>>;
auto& statistics = *new std::map<call_key, call_statistics>;
auto& last_calls = *new std::map<int, SystemCall>;
} // namespace

void force_result(SystemCall call, int descriptor, ssize_t result, int error_number)
{
    forced_results[{call, descriptor}].push_back({.result = result, .error_number = error_number});
}

void limit_next_write(SystemCall call, int descriptor, std::size_t byte_count)
{
    forced_results[{call, descriptor}].push_back({.limit = byte_count});
}

std::size_t call_count(SystemCall call, int descriptor)
{
    return statistics[{call, descriptor}].count;
}

std::size_t greatest_length(SystemCall call, int descriptor)
{
    return statistics[{call, descriptor}].greatest_length;
}

std::optional<SystemCall> last_call(int descriptor)
{
    const auto found = last_calls.find(descriptor);
    if (found == last_calls.end()) return std::nullopt;
    return found->second;
}

void reset_forced_results()
{
    forced_results.clear();
    statistics.clear();
    last_calls.clear();
    on_connect = nullptr;
}

namespace {
// Counts the call and finds what is forced on it. Returns whether the call must not be made.
bool intercept(SystemCall call, int descriptor, std::size_t& length, ssize_t& result)
{
    call_statistics& counted = statistics[{call, descriptor}];
    ++counted.count;
    last_calls.insert_or_assign(descriptor, call);
    counted.greatest_length = std::max(counted.greatest_length, length);
    for (const int key : {descriptor, ANY_DESCRIPTOR}) {
        const auto found = forced_results.find({call, key});
        if (found == forced_results.end() || found->second.empty()) continue;
        const forced_result forced = found->second.front();
        found->second.pop_front();
        if (forced.limit != 0) {
            length = std::min(length, forced.limit);
            return false;
        }
        errno = forced.error_number;
        result = forced.result;
        return true;
    }
    return false;
}

template <typename Real, typename... Arguments>
int intercept_plain(SystemCall call, int descriptor, Real real, Arguments... arguments)
{
    std::size_t length = 0;
    ssize_t result = 0;
    if (intercept(call, descriptor, length, result)) return static_cast<int>(result);
    return real(arguments...);
}
} // namespace

// The linker sends the calls of the whole program here (--wrap).
extern "C" {
ssize_t __real_read(int, void*, std::size_t);
ssize_t __real_write(int, const void*, std::size_t);
ssize_t __real_send(int, const void*, std::size_t, int);
int __real_close(int);
int __real_connect(int, const sockaddr*, socklen_t);
int __real_socket(int, int, int);
int __real_fcntl(int, int, ...);
int __real_fstat(int, struct stat*);
int __real_flock(int, int);

ssize_t __wrap_read(int descriptor, void* bytes, std::size_t length)
{
    ssize_t result = 0;
    if (intercept(SystemCall::Read, descriptor, length, result)) return result;
    return __real_read(descriptor, bytes, length);
}

ssize_t __wrap_write(int descriptor, const void* bytes, std::size_t length)
{
    ssize_t result = 0;
    if (intercept(SystemCall::Write, descriptor, length, result)) return result;
    return __real_write(descriptor, bytes, length);
}

ssize_t __wrap_send(int descriptor, const void* bytes, std::size_t length, int flags)
{
    ssize_t result = 0;
    if (intercept(SystemCall::Send, descriptor, length, result)) return result;
    return __real_send(descriptor, bytes, length, flags);
}

int __wrap_close(int descriptor)
{
    return intercept_plain(SystemCall::Close, descriptor, __real_close, descriptor);
}

int __wrap_connect(int descriptor, const sockaddr* address, socklen_t size)
{
    const auto attempt = [&] {
        if (!on_connect) return __real_connect(descriptor, address, size);
        sockaddr_in internet_address{};
        std::memcpy(&internet_address, address, sizeof internet_address);
        return on_connect(descriptor, internet_address);
    };
    return intercept_plain(SystemCall::Connect, descriptor, attempt);
}

int __wrap_socket(int domain, int type, int protocol)
{
    return intercept_plain(SystemCall::Socket, ANY_DESCRIPTOR, __real_socket, domain, type,
                           protocol);
}

int __wrap_fcntl(int descriptor, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    return intercept_plain(SystemCall::Fcntl, descriptor, __real_fcntl, descriptor, command,
                           argument);
}

int __wrap_fstat(int descriptor, struct stat* status)
{
    return intercept_plain(SystemCall::Fstat, descriptor, __real_fstat, descriptor, status);
}

int __wrap_flock(int descriptor, int operation)
{
    return intercept_plain(SystemCall::Flock, descriptor, __real_flock, descriptor, operation);
}
}
