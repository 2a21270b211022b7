#include "console/commands.h"
#include "console/lookup.h"

namespace console {

namespace {
answer run_use(console_state& console, const desk::moment& /*now*/, const call& call)
{
    std::string complaint;
    const auto router = find_router(console, call.words[0], complaint);
    if (!router) return refusal(complaint, verdict::wrong_use);
    console.router = *router;
    return {.json = {{"router", *router}}};
}
} // namespace

const std::vector<command>& setting_commands()
{
    static const std::vector<command> COMMANDS = {
        {"use",
         {argument::router},
         1,
         false,
         false,
         "ROUTER",
         "let the commands concern this router",
         "",
         run_use},
    };
    return COMMANDS;
}

} // namespace console
