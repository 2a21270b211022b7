// The control server: one process between many people and many routers.
#include <iostream>
#include <sys/stat.h>

#include "server/program/house_commands.h"
#include "server/program/run.h"
#include "tools/common/descriptors.h"
#include "tools/common/program.h"

namespace {
int run_program(int argument_count, const char* const* arguments)
{
    program::options options;
    if (const auto status =
            program::read_options(argument_count, arguments, options, std::cout, std::cerr))
        return *status;
    if (options.command != program::command::serve) return program::run_command(options);
    program::settings settings;
    std::string error;
    if (!options.config.empty() && !program::read_settings(options.config, settings, error))
        return common::refuse_arguments(error, std::cerr);
    if (options.port) settings.listen.port = *options.port;
    return program::run_server(options, settings);
}
} // namespace

int main(int argument_count, char** arguments)
{
    umask(0077); // what is kept is nobody else's to read
    common::keep_standard_descriptors();
    return common::run_main(run_program, argument_count, arguments);
}
