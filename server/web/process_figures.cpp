#include "server/web/process_figures.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace web {

namespace {
// The fields of /proc/self/stat from the process's state on, which is the third of proc(5).
std::vector<double> read_stat()
{
    std::ifstream file("/proc/self/stat");
    std::string text; // one line
    std::getline(file, text);
    std::istringstream rest(text.substr(std::min(text.size(), text.rfind(')') + 1)));
    std::string state;
    rest >> state;
    std::vector<double> fields{0, 0, 0, 0}; // so that each has its number in proc(5)
    for (double field = 0; rest >> field;)
        fields.push_back(field);
    fields.resize(53);
    return fields;
}

// When the system was started.
double boot_time()
{
    std::ifstream file("/proc/stat");
    for (std::string word; file >> word;) {
        double seconds = 0;
        if (word == "btime" && file >> seconds) return seconds;
    }
    return 0;
}

double count_descriptors()
{
    std::error_code error;
    const std::filesystem::directory_iterator open("/proc/self/fd", error);
    return error ? 0 : static_cast<double>(std::distance(begin(open), end(open)));
}
} // namespace

process_figures read_process_figures()
{
    const std::vector<double> stat = read_stat();
    const auto ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
    rlimit descriptors{};
    getrlimit(RLIMIT_NOFILE, &descriptors);
    process_figures figures;
    figures.cpu_seconds = (stat[14] + stat[15]) / ticks;
    figures.started = boot_time() + stat[22] / ticks;
    figures.virtual_bytes = stat[23];
    figures.resident_bytes = stat[24] * static_cast<double>(sysconf(_SC_PAGESIZE));
    figures.open_descriptors = count_descriptors();
    figures.most_descriptors = static_cast<double>(descriptors.rlim_cur);
    return figures;
}

} // namespace web
