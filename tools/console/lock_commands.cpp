#include "console/commands.h"

namespace console {

const std::vector<command>& lock_commands()
{
    static const std::vector<command> COMMANDS = {};
    return COMMANDS;
}

} // namespace console
