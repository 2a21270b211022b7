// Forced results of system calls, for what a test cannot bring about from outside. The backend's
// calls of read, write, send, close, connect, socket, fcntl, fstat and flock go through here; a
// call without a forced result is the system's own.
#pragma once

#include <cstddef>
#include <functional>
#include <netinet/in.h>
#include <optional>
#include <sys/types.h>

enum class SystemCall { Read, Write, Send, Close, Connect, Socket, Fcntl, Fstat, Flock };

// A result without a descriptor applies to a call on any one.
constexpr int ANY_DESCRIPTOR = -1;

// The next such call on this descriptor does nothing and returns this result with this errno;
// several come in order.
void force_result(SystemCall call, int descriptor, ssize_t result, int error_number = 0);

// The next write or send on this descriptor writes at most this many bytes.
void limit_next_write(SystemCall call, int descriptor, std::size_t byte_count);

// How often the call was made on this descriptor since the last reset, and the greatest length
// that it was given.
std::size_t call_count(SystemCall call, int descriptor);
std::size_t greatest_length(SystemCall call, int descriptor);

// The last call on this descriptor since the last reset, nothing when there was none.
std::optional<SystemCall> last_call(int descriptor);

// Called in place of connect, when set, unless a result is forced; returns what connect returns.
extern std::function<int(int descriptor, const sockaddr_in& address)> on_connect;

void reset_forced_results();
