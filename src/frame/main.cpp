// The backend process: start-up in its order, then the main loop until a termination signal or the
// end of the parent channel.

#include <csignal>
#include <string>
#include <sys/stat.h>

#include "common/log.h"
#include "common/loop_flags.h"
#include "control/commands.h"
#include "frame/command_line.h"
#include "frame/config_file.h"
#include "frame/main_loop.h"
#include "frame/settings.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_model/state.h"

namespace {
// A symbolic link is refused even when it points at a file.
bool is_regular_file(const std::string& path)
{
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool load_configuration(const std::string& config_path)
{
    ConfigMap config;
    for (const char* key : registered_config_keys)
        config[key].clear();
    if (read_config_file(config_path, config) != 0) return false;
    for (const auto& [name, value] : config)
        apply_setting(name, value);
    recompute_io_counts();
    io_counts_changed = false;
    return true;
}
} // namespace

int main(int argument_count, char** arguments)
{
    std::string config_path;
    if (!parse_command_line(argument_count, arguments, config_path)) return 1;
    if (!is_regular_file(config_path)) {
        log_untagged("File path '%s' is not valid. Must exist and it must be a file.",
                     config_path.c_str());
        return 1;
    }
    const std::string metadata_dir = metadata_directory(config_path);
    if (metadata_dir.empty()) {
        log_untagged("Cannot determine metadir");
        return 1;
    }
    if (prepare_parent_channel() != 0) {
        log_untagged("Failed to prepare communications with parent process");
        return 1;
    }
    if (!load_configuration(config_path)) {
        log_error("Failure to read configuration");
        return 1;
    }
    set_parent_record_handler(handle_parent_record);
    for (const int signal_number : {SIGTERM, SIGPIPE, SIGHUP, SIGINT})
        std::signal(signal_number, handle_termination_signal);

    while (main_loop_pass()) {
    }
    close_router_connection();
    return 0;
}
