#include "console/line_history.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "tools/common/descriptors.h"

namespace console {

std::string history_path()
{
    constexpr const char* NAME = "/router_console/history";
    const char* const state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/') return std::string(state) + NAME;
    const char* const home = std::getenv("HOME");
    if (home == nullptr || *home == '\0') return {};
    return std::string(home) + "/.local/state" + NAME;
}

std::vector<std::string> read_history(const std::string& path)
{
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        add_to_history(lines, line);
    return lines;
}

bool add_to_history(std::vector<std::string>& lines, const std::string& line)
{
    if (line.find_first_not_of(' ') == std::string::npos) return false;
    if (!lines.empty() && lines.back() == line) return false;
    lines.push_back(line);
    if (lines.size() > LINES_KEPT) lines.erase(lines.begin());
    return true;
}

void keep_line(const std::string& path, const std::string& line)
{
    if (path.empty()) return;
    std::vector<std::string> lines = read_history(path);
    if (!add_to_history(lines, line)) return;
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    std::string temporary = path + ".XXXXXX";
    const common::owned_descriptor file(mkstemp(temporary.data())); // 0600
    if (file.number < 0) return;
    std::string text;
    for (const std::string& each : lines)
        text += each + "\n";
    if (!common::write_all(file.number, text) || std::rename(temporary.c_str(), path.c_str()) != 0)
        unlink(temporary.c_str());
}

} // namespace console
