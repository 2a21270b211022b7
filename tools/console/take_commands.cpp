#include "console/batch_answer.h"
#include "console/commands.h"
#include "console/lookup.h"

namespace console {

namespace {
answer run_take(console_state& console, const desk::moment& now, const call& call)
{
    if (call.words.size() != 2)
        return refusal("Usage: take DESTINATION SOURCE", verdict::wrong_use);
    std::string complaint;
    const auto destination = find_destination(console, call.words[0], complaint);
    if (!destination) return refusal(complaint, verdict::wrong_use);
    const auto source = find_source(console, call.words[1], complaint);
    if (!source) return refusal(complaint, verdict::wrong_use);
    desk::take_request request;
    request.rows = {{{console.router, *destination, *source}, {}}};
    request.dry_run = call.dry_run;
    return batch_answer(console, desk::take(console.desk, now, console.person, request),
                        desk::batch_kind::take, call.dry_run);
}
} // namespace

const std::vector<command>& take_commands()
{
    static const std::vector<command> COMMANDS = {
        {"take",
         {argument::destination, argument::source},
         0,
         true,
         true,
         "[DESTINATION SOURCE] [--rest]",
         "route a source to a destination now; alone: the staged list",
         "",
         run_take},
    };
    return COMMANDS;
}

} // namespace console
