#include "bench/system_calls.h"

#include <fstream>

namespace bench {

namespace {
// A line is "read(0, ...) = 1".
std::string call_name(const std::string& line)
{
    return line.substr(0, line.find('('));
}
} // namespace

std::map<std::string, double> calls_per_span(const std::string& trace_file, const std::string& mark)
{
    std::ifstream trace(trace_file);
    std::map<std::string, double> counted; // up to the last mark
    std::map<std::string, double> since_mark;
    int marks = 0;
    for (std::string line; std::getline(trace, line);) {
        if (line.find('(') == std::string::npos) continue;
        if (line.starts_with("sendto(") && line.find(mark) != std::string::npos) {
            for (const auto& [name, count] : since_mark)
                if (marks > 0) counted[name] += count;
            since_mark.clear();
            ++marks;
        }
        ++since_mark[call_name(line)];
    }
    for (auto& [name, count] : counted)
        count /= marks - 1;
    return counted;
}

} // namespace bench
