#include "server/program/systemd.h"

#include <systemd/sd-daemon.h>

namespace program {

void tell_ready(const std::string& status)
{
    sd_notify(0, ("READY=1\nSTATUS=" + status).c_str());
}

void tell_stopping()
{
    sd_notify(0, "STOPPING=1\nSTATUS=Ending");
}

void tell_alive()
{
    sd_notify(0, "WATCHDOG=1");
}

std::optional<std::chrono::microseconds> watchdog_period()
{
    std::uint64_t limit = 0;
    if (sd_watchdog_enabled(0, &limit) <= 0) return {};
    return std::chrono::microseconds(limit / 2);
}

} // namespace program
