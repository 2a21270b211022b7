#include "console/times.h"

#include <cstdio>
#include <ctime>

namespace console {

namespace {
std::time_t seconds_of(desk::wall time)
{
    return std::chrono::floor<std::chrono::seconds>(time).count();
}

std::tm local_time(desk::wall time)
{
    const std::time_t seconds = seconds_of(time);
    std::tm local{};
    localtime_r(&seconds, &local);
    return local;
}
} // namespace

std::string time_of_day(desk::wall time)
{
    const std::tm local = local_time(time);
    char text[16];
    std::strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

std::string exact_time(desk::wall time)
{
    char text[8];
    std::snprintf(
        text, sizeof text, ".%03d",
        static_cast<int>((time - std::chrono::floor<std::chrono::seconds>(time)).count()));
    return time_of_day(time) + text;
}

std::string day_and_time(desk::wall time)
{
    const std::tm local = local_time(time);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

std::string age(desk::monotonic age)
{
    const long long seconds = std::chrono::floor<std::chrono::seconds>(age).count();
    constexpr long long DAY = 86400;
    if (seconds >= 2 * DAY) return std::to_string(seconds / DAY) + " days";
    char text[32];
    if (seconds >= 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60,
                      seconds % 60);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld", seconds / 60, seconds % 60);
    return text;
}

std::string duration(desk::monotonic duration)
{
    using namespace std::chrono;
    const auto with_tenths = [](long long tenths) {
        return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
    };
    if (duration < milliseconds(10)) return with_tenths(duration.count() / 100) + " ms";
    if (duration < seconds(1)) return std::to_string(duration.count() / 1000) + " ms";
    if (duration < minutes(1)) return with_tenths(duration.count() / 100'000) + " s";
    return age(duration);
}

double json_ms(desk::monotonic duration)
{
    return static_cast<double>(duration.count()) / 1e3;
}

std::string json_time(desk::wall time)
{
    const std::time_t seconds = seconds_of(time);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &utc);
    char text[48];
    std::snprintf(text, sizeof text, "%s.%03dZ", date,
                  static_cast<int>((time - std::chrono::seconds(seconds)).count()));
    return text;
}

} // namespace console
