// The configuration file: the map of settings is the model's, and applying it sets each setting to
// what its text says, raises the flags of what has changed and, done again, changes nothing.
//
// The input is the file.

#include <cctype>
#include <sys/mman.h>
#include <unistd.h>

#include "common/loop_flags.h"
#include "frame/config_file.h"
#include "frame/settings.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/property.h"
#include "router_model/state.h"
#include "support/backend_state.h"

namespace {
constexpr std::size_t LONGEST_LINE = 4095;

int file_descriptor = -1; // the file, in memory alone

std::string path_of_file(std::string_view text)
{
    require(ftruncate(file_descriptor, 0) == 0 && pwrite(file_descriptor, text.data(), text.size(),
                                                         0) == static_cast<ssize_t>(text.size()),
            "the file can be written");
    return "/proc/self/fd/" + std::to_string(file_descriptor);
}

void read_line_into(ConfigMap& config, const std::string& line)
{
    const std::size_t equals = line.find('=');
    if (line.starts_with("#") || equals == std::string::npos) return;
    std::string name = line.substr(0, equals);
    std::string value = line.substr(equals + 1);
    if (name.ends_with(" ")) {
        name.pop_back();
        if (value.starts_with(" ")) value.erase(0, 1);
    }
    std::string& all = config[name];
    all = all.empty() ? value : all + "\n" + value;
}

ConfigMap modelled(std::string_view text)
{
    ConfigMap config = {{"inputs", ""}, {"outputs", ""}};
    while (!text.empty()) {
        const std::size_t end = std::min({text.find('\n'), LONGEST_LINE, text.size()});
        const std::string line(text.substr(0, end));
        const bool line_end_fits = end < LONGEST_LINE;
        text.remove_prefix(std::min(end + (line_end_fits ? 1 : 0), text.size()));
        read_line_into(config, line.substr(0, line.find('\0')));
    }
    return config;
}

// The decimal number at the start of the text, within 64 bits, cut to 32.
std::int32_t modelled_number(const std::string& text)
{
    std::size_t i = 0;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i])) != 0)
        ++i;
    const bool negative = i < text.size() && text[i] == '-';
    if (negative || (i < text.size() && text[i] == '+')) ++i;
    __extension__ __int128 value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9' && value <= INT64_MAX; ++i)
        value = value * 10 + (text[i] - '0');
    if (negative) value = -value;
    if (value > INT64_MAX) value = INT64_MAX;
    if (value < INT64_MIN) value = INT64_MIN;
    return static_cast<std::int32_t>(value);
}

std::string setting(const ConfigMap& config, const char* name)
{
    const auto found = config.find(name);
    return found == config.end() ? "" : found->second;
}

void apply_all(const ConfigMap& config)
{
    io_counts_changed = disconnect_requested = false;
    for (const auto& [name, value] : config)
        apply_setting(name, value);
}

void check_settings(const ConfigMap& config)
{
    reset_backend_state();
    apply_all(config);
    const std::int32_t inputs = modelled_number(setting(config, "inputs"));
    const std::int32_t outputs = modelled_number(setting(config, "outputs"));
    const std::string port_text = setting(config, "port");
    const std::int32_t port = port_text.empty() ? -1 : modelled_number(port_text);
    const std::string address = setting(config, "ip address");
    require(configured_inputs == inputs && configured_outputs == outputs, "counts are as written");
    require(router_port == port, "the port is as written");
    require(router_ip_address == address, "the address is as written");
    const bool router_changed = port != -1 || !address.empty();
    require(disconnect_requested == router_changed, "another router means another connection");
    require(io_counts_changed == (router_changed || inputs != 0 || outputs != 0),
            "changes are flagged");
    apply_all(config);
    require(!disconnect_requested && !io_counts_changed, "what is set already is no change");
    recompute_io_counts();
    const auto effective = [](std::int32_t count) {
        return count < 0 || count > 256 ? std::uint64_t{256} : static_cast<std::uint64_t>(count);
    };
    require(number_of_inputs == effective(inputs), "inputs are capped");
    require(number_of_outputs == effective(outputs), "outputs are capped");
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    capture_diagnostics();
    file_descriptor = memfd_create("configuration", MFD_CLOEXEC);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text = input_of(data, size).rest;
    logged_lines.clear();
    ConfigMap config = {{"inputs", ""}, {"outputs", ""}};
    require(read_config_file(path_of_file(text), config) == 0, "a file that is there can be read");
    require(config == modelled(text), "the settings are the model's");
    check_settings(config);
    return 0;
}
