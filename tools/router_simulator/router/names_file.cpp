#include "router_simulator/router/names_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>

#include "router_simulator/router/names.h"
#include "tools/common/numbers.h"

namespace router_simulator {

namespace {
struct named_port {
    std::string kind;
    std::string index;
    std::string name;
};

std::string without_blanks(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// A quoted name loses its quotes. Returns false when they do not match.
bool unquote(std::string& name)
{
    if (name.empty() || name.front() != '"') return true;
    if (name.size() < 2 || name.back() != '"') return false;
    std::string text;
    for (std::size_t i = 1; i + 1 < name.size(); ++i) {
        if (name[i] == '"' && (++i + 1 == name.size() || name[i] != '"')) return false;
        text += name[i];
    }
    name = text;
    return true;
}

bool split_line(const std::string& line, named_port& port, std::string& error)
{
    const std::size_t first = line.find(',');
    const std::size_t second = first == std::string::npos ? first : line.find(',', first + 1);
    if (second == std::string::npos) {
        error = "three fields expected: kind,index,name";
        return false;
    }
    port.kind = without_blanks(line.substr(0, first));
    port.index = without_blanks(line.substr(first + 1, second - first - 1));
    port.name = without_blanks(line.substr(second + 1));
    if (unquote(port.name)) return true;
    error = "the quotes of the name do not match";
    return false;
}

bool is_header(const std::string& line)
{
    named_port titles;
    std::string error;
    return split_line(line, titles, error) && titles.kind == "kind" && titles.index == "index" &&
           titles.name == "name";
}

std::string range_text(std::uint64_t base, std::size_t count)
{
    if (count == 0) return "there are none";
    return "they are " + std::to_string(base) + " to " + std::to_string(base + count - 1);
}

// The name that the line is about, or null with the reason in `error`.
std::string* find_port(simulated_router& router, const named_port& port, std::string& error)
{
    const bool is_level = port.kind == "level";
    if (!is_level && port.kind != "source" && port.kind != "destination") {
        error = "unknown kind \"" + port.kind + "\": source, destination or level expected";
        return nullptr;
    }
    std::uint64_t index = 0;
    if (!common::read_decimal(port.index, index)) {
        error = "the index \"" + port.index + "\" is not a decimal number";
        return nullptr;
    }
    port_list& ports = port.kind == "source" ? router.sources : router.destinations;
    std::vector<std::string>& names = is_level ? router.levels : ports.names;
    const std::uint64_t base = is_level ? 0 : ports.base;
    if (index >= base && index - base < names.size()) return &names[index - base];
    error = "no " + port.kind + " " + port.index + ": " + range_text(base, names.size());
    return nullptr;
}

bool set_name(simulated_router& router, const std::string& line,
              std::map<const std::string*, std::size_t>& named_in, std::size_t line_number,
              std::string& error)
{
    named_port port;
    if (!split_line(line, port, error)) return false;
    std::string* const name = find_port(router, port, error);
    if (name == nullptr) return false;
    if (!check_name(port.name, error)) {
        error = "the name " + error;
        return false;
    }
    const auto [earlier, is_first] = named_in.emplace(name, line_number);
    if (!is_first) {
        error = port.kind + " " + port.index + " was named in line " +
                std::to_string(earlier->second) + " already";
        return false;
    }
    *name = port.name;
    return true;
}
} // namespace

bool read_names(simulated_router& router, std::istream& file, const std::string& file_name,
                std::string& error)
{
    std::map<const std::string*, std::size_t> named_in;
    std::string line;
    for (std::size_t number = 1; std::getline(file, line); ++number) {
        if (number == 1 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
        if (line.ends_with('\r')) line.pop_back();
        const std::string content = without_blanks(line);
        if (content.empty() || content.front() == '#' || is_header(line)) continue;
        if (set_name(router, line, named_in, number, error)) continue;
        error.insert(0, file_name + ":" + std::to_string(number) + ": ");
        return false;
    }
    if (!file.bad()) return true;
    error = file_name + ": cannot be read: " + std::strerror(errno);
    return false;
}

bool read_names_file(simulated_router& router, const std::string& path, std::string& error)
{
    std::ifstream file(path);
    if (file) return read_names(router, file, path, error);
    error = path + ": cannot be opened: " + std::strerror(errno);
    return false;
}

} // namespace router_simulator
