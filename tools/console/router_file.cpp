#include "console/router_file.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <numeric>
#include <string_view>

#include "common/numbers.h"
#include "frame/config_file.h"
#include "tools/common/words.h"

namespace console {

namespace {
constexpr std::array<std::string_view, 4> SETTINGS = {"ip address", "port", "inputs", "outputs"};
constexpr std::size_t FARTHEST_MISSPELLING = 3; // letters to change, add or remove

std::string in_quotes(std::string_view text)
{
    return '"' + std::string(text) + '"';
}

// How many letters must be changed, added or removed to make one of the other.
std::size_t distance(std::string_view from, std::string_view to)
{
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < to.size(); ++j) {
            const bool same = common::same_name(from.substr(i, 1), to.substr(j, 1));
            const std::size_t changed = diagonal + (same ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

std::string advice_for(std::string_view name)
{
    const auto* const nearest =
        std::min_element(SETTINGS.begin(), SETTINGS.end(), [&](auto left, auto right) {
            return distance(name, left) < distance(name, right);
        });
    if (distance(name, *nearest) <= FARTHEST_MISSPELLING)
        return "did you mean " + in_quotes(*nearest) + "?";
    return R"(there are "ip address", "port", "inputs" and "outputs".)";
}

bool is_setting(std::string_view name)
{
    return std::find(SETTINGS.begin(), SETTINGS.end(), name) != SETTINGS.end();
}

bool says_nothing(std::string_view line)
{
    return line.starts_with('#') || line.find_first_not_of(" \t\r") == std::string_view::npos;
}

// Why the backend passes the line over; empty when it does not, or when nothing stands there.
std::string why_ignored(const std::string& line)
{
    constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
    if (says_nothing(line)) return {};
    if (line.starts_with(BYTE_ORDER_MARK))
        return says_nothing(std::string_view(line).substr(BYTE_ORDER_MARK.size()))
                   ? ""
                   : "it begins with a byte order mark, which the backend takes for a part of the "
                     "name; save the file without one.";
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) return "there is no \"=\" in it.";
    std::string_view name = std::string_view(line).substr(0, equals);
    if (name.ends_with(' ')) name.remove_suffix(1);
    if (is_setting(name)) return {};
    if (name.ends_with(' ') && is_setting(name.substr(0, name.find_last_not_of(' ') + 1)))
        return "there are two blanks before \"=\", and one is allowed.";
    return "there is no setting " + in_quotes(name) + "; " + advice_for(name);
}

void warn_of_lines(const std::string& path, std::vector<std::string>& warnings)
{
    std::ifstream file(path);
    std::string line;
    for (int number = 1; std::getline(file, line); ++number)
        if (const std::string why = why_ignored(line); !why.empty())
            warnings.push_back(std::string(path)
                                   .append(", line ")
                                   .append(std::to_string(number))
                                   .append(" is ignored: ")
                                   .append(why));
}

// The backend's settings as it understands them, with a warning where people would not.
struct value_reader {
    const ConfigMap& config;
    const std::string& path;
    std::vector<std::string>& warnings;

    std::string text(const char* name) const
    {
        const auto found = config.find(name);
        return found == config.end() ? "" : found->second;
    }

    void warn(const char* name, const std::string& value, const std::string& what) const
    {
        std::string shown = in_quotes(value);
        std::replace(shown.begin(), shown.end(), '\n', ' ');
        warnings.push_back(path + ": the " + name + " " + shown + " " + what);
    }

    void warn_unless_same(const char* name, const std::string& value, const std::string& read) const
    {
        std::string trimmed = value.substr(0, value.find_last_not_of("\r\t ") + 1);
        trimmed.erase(0, trimmed.find_first_not_of(' '));
        if (trimmed != read) warn(name, value, "is read as " + read + ".");
    }
};

std::string read_address(const value_reader& values)
{
    const std::string value = values.text("ip address");
    in_addr address{};
    if (value.empty()) {
        values.warnings.push_back(values.path +
                                  ": there is no \"ip address\", so no connection is attempted.");
        return {};
    }
    if (inet_aton(value.c_str(), &address) == 0) {
        values.warn("ip address", value,
                    "is no IPv4 address (four numbers with dots), so no connection is attempted.");
        return {};
    }
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &address, text.data(), text.size());
    values.warn_unless_same("ip address", value, text.data());
    return text.data();
}

int read_port(const value_reader& values)
{
    const std::string value = values.text("port");
    const int number = value.empty() ? 0 : decimal_number(value);
    const int port = number < 1 ? desk::router_settings().port : static_cast<std::uint16_t>(number);
    if (!value.empty()) values.warn_unless_same("port", value, std::to_string(port));
    return port;
}

int read_count(const value_reader& values, const char* name)
{
    const std::string value = values.text(name);
    const int number = value.empty() ? 0 : decimal_number(value);
    const int count =
        number < 0 ? desk::ROUTED_POSITIONS : std::min(number, desk::ROUTED_POSITIONS);
    if (value.empty()) return count;
    if (count == 0 && value.find_first_not_of('0') != std::string::npos)
        values.warn(name, value, "is no number, so there are as many as the router has.");
    else
        values.warn_unless_same(name, value, std::to_string(count));
    return count;
}
} // namespace

namespace {
// Of the same text always the same (FNV-1a).
std::uint32_t checksum(std::string_view text)
{
    constexpr std::uint32_t PRIME = 16'777'619;
    std::uint32_t sum = 2'166'136'261;
    for (const char byte : text)
        sum = (sum ^ static_cast<unsigned char>(byte)) * PRIME;
    return sum;
}
} // namespace

std::string router_id(const std::string& name)
{
    constexpr std::size_t CHECKSUM_LENGTH = 9; // with the "-" before it
    std::string id = name;
    std::replace_if(
        id.begin(), id.end(),
        [](unsigned char letter) {
            return letter >= 0x80 || (std::isalnum(letter) == 0 && letter != '-' && letter != '_');
        },
        '-');
    if (id == name && id.size() <= desk::ROUTER_ID_LENGTH) return id;
    std::array<char, CHECKSUM_LENGTH + 1> end{};
    std::snprintf(end.data(), end.size(), "-%08x", checksum(name));
    return id.substr(0, desk::ROUTER_ID_LENGTH - CHECKSUM_LENGTH) + end.data();
}

bool read_router_file(const std::string& path, desk::router_settings& router,
                      std::vector<std::string>& warnings, std::string& error)
{
    ConfigMap config;
    errno = 0;
    if (std::filesystem::is_directory(path)) errno = EISDIR;
    if (errno != 0 || read_config_file(path, config) != 0) {
        error = "cannot read " + path + ": " + std::strerror(errno);
        return false;
    }
    warn_of_lines(path, warnings);
    const value_reader values{config, path, warnings};
    router.name = std::filesystem::path(path).stem().string();
    router.id = router_id(router.name);
    router.address = read_address(values);
    router.port = read_port(values);
    router.inputs = read_count(values, "inputs");
    router.outputs = read_count(values, "outputs");
    return true;
}

} // namespace console
