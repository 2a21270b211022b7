// What several of the tests' own doubles do with bare descriptors.
#pragma once

#include <cerrno>
#include <system_error>
#include <unistd.h>

// The result of a system call that must not fail; throws when it has.
inline int checked(int result)
{
    if (result < 0) throw std::system_error(errno, std::generic_category());
    return result;
}

inline void close_if_open(int& descriptor)
{
    if (descriptor >= 0) close(descriptor);
    descriptor = -1;
}
