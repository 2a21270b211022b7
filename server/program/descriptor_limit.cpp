#include "server/program/descriptor_limit.h"

#include <algorithm>
#include <sys/resource.h>

namespace program {

namespace {
constexpr std::size_t NOT_FOR_CLIENTS = 512; // 100 routers', and some
}

std::size_t raise_descriptor_limit()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
    const rlimit raised{limit.rlim_max, limit.rlim_max};
    return setrlimit(RLIMIT_NOFILE, &raised) == 0 ? raised.rlim_cur : limit.rlim_cur;
}

std::size_t clients_with(std::size_t descriptors)
{
    return descriptors - std::min(NOT_FOR_CLIENTS, descriptors / 2);
}

} // namespace program
