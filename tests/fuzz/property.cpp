#include "fuzz/property.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

std::vector<std::string> logged_lines;

namespace {
// The stream is unbuffered, so that this is called once for each line.
ssize_t keep_line(void*, const char* bytes, std::size_t size)
{
    logged_lines.emplace_back(bytes, size);
    return static_cast<ssize_t>(size);
}
} // namespace

void capture_diagnostics()
{
    stderr = fopencookie(nullptr, "w",
                         {.read = nullptr, .write = keep_line, .seek = nullptr, .close = nullptr});
    if (stderr == nullptr) std::abort();
    std::setbuf(stderr, nullptr);
}

extern "C" {
[[noreturn]] void __real_abort();

// The backend's assertions end here as well: what they printed is among the lines.
[[noreturn]] void __wrap_abort()
{
    for (const std::string& line : logged_lines)
        dprintf(STDERR_FILENO, "logged: %s", line.c_str());
    __real_abort();
}
}

void require(bool condition, const char* property)
{
    if (condition) return;
    dprintf(STDERR_FILENO, "property broken: %s\n", property);
    std::abort();
}
