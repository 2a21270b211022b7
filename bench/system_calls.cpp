#include "bench/system_calls.h"

#include <fstream>

namespace bench {

std::map<std::string, double> calls_per_span(const std::string& trace_file, const std::string& mark)
{
    std::ifstream trace(trace_file);
    std::map<std::string, double> counted; // up to the last mark
    std::map<std::string, double> since_mark;
    int marks = 0;
    for (std::string line; std::getline(trace, line);) {
        const std::size_t name_end = line.find('('); // a line is "read(0, ...) = 1"
        if (name_end == std::string::npos) continue;
        if (line.starts_with("sendto(") && line.find(mark) != std::string::npos) {
            for (const auto& [name, count] : since_mark)
                if (marks > 0) counted[name] += count;
            since_mark.clear();
            ++marks;
        }
        ++since_mark[line.substr(0, name_end)];
    }
    for (auto& [name, count] : counted)
        count /= marks - 1;
    return counted;
}

} // namespace bench
