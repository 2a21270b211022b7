#include "frame/command_line.h"

#include <string_view>

#include "common/log.h"

namespace {
void print_usage(const char* program_name)
{
    log_untagged("Grass Valley routing switcher backend process.");
    log_untagged("%s: [options]", program_name);
    log_untagged(" --file <path>");
}
} // namespace

bool parse_command_line(int argument_count, char** arguments, std::string& config_path)
{
    config_path.clear();
    for (int i = 1; i < argument_count; ++i) {
        const char* argument = arguments[i];
        if (*argument != '-') {
            log_untagged("Unknown argument '%s'", argument);
            continue;
        }
        while (*argument == '-')
            ++argument;
        const std::string_view option = argument;
        if (option == "h" || option == "help") {
            print_usage(arguments[0]);
            return false;
        }
        if (option != "file") {
            log_untagged("Unknown switch '%s'", argument);
            return false;
        }
        if (++i == argument_count) return false;
        config_path = arguments[i];
    }
    if (config_path.empty()) {
        log_untagged("No file path specified, use --file option. See --help for details");
        return false;
    }
    return true;
}
