#include "soak/process_cost.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace soak {

namespace {
// A line "Pss:   123 kB" of the mapping that the last header line has begun. The heap is the
// program break's mapping and those without a file, which large allocations get.
void add_mapping_line(const std::string& line, bool& is_heap, process_cost& cost)
{
    std::istringstream words(line);
    std::string first;
    words >> first;
    if (first.empty()) return;
    if (first.back() != ':') { // "55d0-55d1 rw-p 0 0 0 [heap]"
        std::string permissions;
        std::string skipped;
        std::string name;
        words >> permissions >> skipped >> skipped >> skipped >> name;
        is_heap = name == "[heap]" || (name.empty() && permissions.starts_with("rw"));
    } else if (first == "Pss:") {
        std::uint64_t kib = 0;
        words >> kib;
        cost.pss_kib += kib;
        if (is_heap) cost.heap_kib += kib;
    }
}
} // namespace

std::optional<process_cost> read_process_cost(pid_t process)
{
    const std::string folder = "/proc/" + std::to_string(process);
    std::ifstream mappings(folder + "/smaps");
    process_cost cost;
    bool is_heap = false;
    for (std::string line; std::getline(mappings, line);)
        add_mapping_line(line, is_heap, cost);
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder + "/fd", error), end;
         !error && each != end; each.increment(error))
        ++cost.descriptors;
    if (error || cost.pss_kib == 0) return std::nullopt;
    return cost;
}

} // namespace soak
