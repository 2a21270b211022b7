// Times as the console shows them.
#pragma once

#include <string>

#include "server/desk/moment.h"

namespace console {

std::string time_of_day(desk::wall time);  // "14:02:11", local
std::string exact_time(desk::wall time);   // "14:02:11.042", local
std::string day_and_time(desk::wall time); // "2026-03-01 14:02:11", local
std::string age(desk::monotonic);          // "0:42", "3:05:10", "2 days"
std::string duration(desk::monotonic);     // "0.8 ms", "212 ms", "4.2 s", "3:05"
double json_ms(desk::monotonic duration);  // milliseconds, exact to the microsecond
std::string json_time(desk::wall time);    // "2026-03-01T14:02:11.042Z"

} // namespace console
