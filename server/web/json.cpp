#include "server/web/json.h"

#include <cstdio>
#include <ctime>

namespace web {

std::string text_of(const json& value)
{
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string time_text(desk::wall time)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const std::time_t since_1970 = seconds.count();
    std::tm parts{};
    gmtime_r(&since_1970, &parts);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                  static_cast<int>((time - seconds).count()));
    return text;
}

namespace {
// Cuts so many digits off the text's front. False when it begins with something else.
bool cut_digits(std::string_view& text, std::size_t count, int& number)
{
    number = 0;
    if (text.size() < count) return false;
    for (const char digit : text.substr(0, count)) {
        if (digit < '0' || digit > '9') return false;
        number = 10 * number + (digit - '0');
    }
    text.remove_prefix(count);
    return true;
}

bool cut_mark(std::string_view& text, std::string_view marks)
{
    if (text.empty() || marks.find(text.front()) == std::string_view::npos) return false;
    text.remove_prefix(1);
    return true;
}

// ".080"; nothing is none.
bool cut_fraction(std::string_view& text, desk::wall& fraction)
{
    if (!cut_mark(text, ".")) return true;
    int digit = 0;
    bool any = false;
    for (desk::wall worth(100); cut_digits(text, 1, digit); worth /= 10) {
        fraction += worth * digit;
        any = true;
    }
    return any;
}

// "Z" or "+01:00", which is to be taken off.
bool cut_offset(std::string_view& text, std::chrono::minutes& offset)
{
    if (cut_mark(text, "Zz")) return true;
    const bool west = text.starts_with('-');
    int hours = 0;
    int minutes = 0;
    if (!cut_mark(text, "+-") || !cut_digits(text, 2, hours) || !cut_mark(text, ":") ||
        !cut_digits(text, 2, minutes) || hours > 23 || minutes > 59)
        return false;
    offset = std::chrono::hours(hours) + std::chrono::minutes(minutes);
    if (west) offset = -offset;
    return true;
}
} // namespace

std::optional<desk::wall> read_time(std::string_view text)
{
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (!cut_digits(text, 4, year) || !cut_mark(text, "-") || !cut_digits(text, 2, month) ||
        !cut_mark(text, "-") || !cut_digits(text, 2, day) || !cut_mark(text, "Tt") ||
        !cut_digits(text, 2, hour) || !cut_mark(text, ":") || !cut_digits(text, 2, minute) ||
        !cut_mark(text, ":") || !cut_digits(text, 2, second))
        return {};
    const std::chrono::year_month_day date{std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    desk::wall fraction{};
    std::chrono::minutes offset{};
    if (!date.ok() || hour > 23 || minute > 59 || second > 59 || !cut_fraction(text, fraction) ||
        !cut_offset(text, offset) || !text.empty())
        return {};
    return std::chrono::sys_days(date).time_since_epoch() + std::chrono::hours(hour) +
           std::chrono::minutes(minute) + std::chrono::seconds(second) + fraction - offset;
}

double milliseconds(desk::monotonic duration)
{
    return static_cast<double>(duration.count()) / 1000;
}

} // namespace web
