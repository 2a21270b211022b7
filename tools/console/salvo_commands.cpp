#include "console/commands.h"

namespace console {

const std::vector<command>& salvo_commands()
{
    static const std::vector<command> COMMANDS = {};
    return COMMANDS;
}

} // namespace console
