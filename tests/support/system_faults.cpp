// Stands before the C library in a program's search for these functions, and lets them fail or wait
// as the test says (system_faults.h). What it does not spoil goes to the kernel as it is.
#include "support/system_faults.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {
// None before it is mapped, or without a file: then nothing is spoiled.
system_faults* faults = nullptr;
const char* folder = "";

__attribute__((constructor)) void map_faults()
{
    const char* const path = std::getenv("SYSTEM_FAULTS");
    const char* const below = std::getenv("SYSTEM_FAULTS_FOLDER");
    if (path == nullptr || below == nullptr) return;
    folder = below;
    const int file = open(path, O_RDWR | O_CLOEXEC);
    void* const mapped =
        mmap(nullptr, sizeof(system_faults), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (mapped != MAP_FAILED) faults = static_cast<system_faults*>(mapped);
}

bool is_below(int descriptor)
{
    char path[PATH_MAX];
    char link[32];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const ssize_t length = readlink(link, path, sizeof path);
    const std::size_t beginning = std::strlen(folder);
    return length > static_cast<ssize_t>(beginning) && std::memcmp(path, folder, beginning) == 0;
}

// Sets errno.
bool fails(const std::atomic<int>& error, int descriptor)
{
    if (error == 0 || !is_below(descriptor)) return false;
    ++faults->failed;
    errno = error;
    return true;
}

bool write_fails(int descriptor)
{
    return faults != nullptr && fails(faults->write_error, descriptor);
}

bool sync_fails(int descriptor)
{
    if (faults == nullptr) return false;
    if (faults->sync_ms > 0 && is_below(descriptor)) {
        ++faults->syncing;
        for (std::int64_t waited = 0; waited < faults->sync_ms; ++waited)
            usleep(1000);
        --faults->syncing;
    }
    return fails(faults->sync_error, descriptor);
}

std::int64_t seconds_behind()
{
    return faults == nullptr ? 0 : faults->clock_behind_s.load();
}
} // namespace

extern "C" {

ssize_t write(int descriptor, const void* bytes, size_t count)
{
    if (write_fails(descriptor)) return -1;
    return syscall(SYS_write, descriptor, bytes, count);
}

ssize_t pwrite64(int descriptor, const void* bytes, size_t count, off64_t at)
{
    if (write_fails(descriptor)) return -1;
    return syscall(SYS_pwrite64, descriptor, bytes, count, at);
}

int ftruncate64(int descriptor, off64_t size) noexcept
{
    if (write_fails(descriptor)) return -1;
    return static_cast<int>(syscall(SYS_ftruncate, descriptor, size));
}

int fsync(int descriptor)
{
    if (sync_fails(descriptor)) return -1;
    return static_cast<int>(syscall(SYS_fsync, descriptor));
}

int fdatasync(int descriptor)
{
    if (sync_fails(descriptor)) return -1;
    return static_cast<int>(syscall(SYS_fdatasync, descriptor));
}

int clock_gettime(clockid_t clock, struct timespec* time) noexcept
{
    const long failed = syscall(SYS_clock_gettime, clock, time);
    if (failed == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        time->tv_sec -= seconds_behind();
    return static_cast<int>(failed);
}

int gettimeofday(struct timeval* time, void* /*zone*/) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return 0;
}

time_t time(time_t* result) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result != nullptr) *result = now.tv_sec;
    return now.tv_sec;
}
}
