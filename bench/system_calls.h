// The system calls of a program, by kind, between two moments that its own requests mark.
#pragma once

#include <map>
#include <string>

namespace bench {

// How often each call stands in what strace has written between the first request that holds the
// mark and the last, divided by the number of spans in between. Empty when there are fewer than two
// of them.
std::map<std::string, double> calls_per_span(const std::string& trace_file,
                                             const std::string& mark);

} // namespace bench
