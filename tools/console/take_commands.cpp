#include <map>
#include <utility>

#include "console/batch_answer.h"
#include "console/commands.h"
#include "console/link_text.h"
#include "console/lookup.h"
#include "console/route_names.h"
#include "console/route_rows.h"
#include "server/desk/stages.h"
#include "server/desk/undo.h"
#include "server/desk/words.h"

namespace console {

namespace {
// False, with the answer, when a word names nothing.
bool find_route(const console_state& console, const call& call, desk::route& route, answer& wrong)
{
    std::string complaint;
    const auto destination = find_destination(console, call.words[0], complaint);
    const auto source = destination ? find_source(console, call.words[1], complaint) : std::nullopt;
    if (!source) {
        wrong = refuse_lookup(console, complaint);
        return false;
    }
    route = {console.router, *destination, *source};
    return true;
}

answer take_route(console_state& console, const desk::moment& now, const desk::route& route,
                  const call& call)
{
    desk::take_request request;
    request.rows = {{route, {}}};
    request.dry_run = call.dry_run;
    return batch_answer(console, desk::take(console.desk, now, console.person, request),
                        {desk::batch_kind::take, call.rest, call.dry_run});
}

answer run_take(console_state& console, const desk::moment& now, const call& call)
{
    if (call.words.empty())
        return batch_answer(
            console,
            desk::take_stage(console.desk, now, console.person, console.router, command_of(call)),
            {desk::batch_kind::stage, call.rest, call.dry_run});
    if (call.words.size() == 1)
        return refusal("take needs a destination and a source, or neither: then it takes what is "
                       "staged.",
                       verdict::wrong_use);
    desk::route route;
    answer wrong;
    if (!find_route(console, call, route, wrong)) return wrong;
    return take_route(console, now, route, call);
}

answer run_disconnect(console_state& console, const desk::moment& now, const call& call)
{
    std::string complaint;
    const auto destination = find_destination(console, call.words[0], complaint);
    if (!destination) return refuse_lookup(console, complaint);
    return take_route(console, now, {console.router, *destination, desk::NO_SOURCE}, call);
}

answer run_back(console_state& console, const desk::moment& now, const call& call)
{
    std::string complaint;
    const auto destination = find_destination(console, call.words[0], complaint);
    if (!destination) return refuse_lookup(console, complaint);
    const auto router = console.before.find(console.router);
    if (router != console.before.end()) {
        const auto source = router->second.find(*destination);
        if (source != router->second.end())
            return take_route(console, now, {console.router, *destination, source->second}, call);
    }
    return refusal("It is not known what " +
                       desk::destination_text(console.desk, console.router, *destination) +
                       " showed before.",
                   verdict::refused);
}

answer run_undo(console_state& console, const desk::moment& now, const call& call)
{
    const auto steps = desk::undo_steps(console.desk.house, now, console.person.person);
    const desk::ulid of = steps.empty() ? desk::ulid{} : steps.front()->batch;
    return batch_answer(console, desk::undo(console.desk, now, console.person, command_of(call)),
                        {desk::batch_kind::undo, call.rest, call.dry_run, of});
}

answer run_redo(console_state& console, const desk::moment& now, const call& call)
{
    const auto steps = desk::redo_steps(console.desk.house, now, console.person.person);
    const desk::ulid of = steps.empty() ? desk::ulid{} : steps.front()->batch;
    return batch_answer(console, desk::redo(console.desk, now, console.person, command_of(call)),
                        {desk::batch_kind::redo, call.rest, call.dry_run, of});
}
} // namespace

namespace {
// Null when nothing is staged there.
const desk::stage_rows* find_stage(const console_state& console, const std::string& router)
{
    const auto person = console.desk.stages.find(console.person.person);
    if (person == console.desk.stages.end()) return nullptr;
    const auto stage = person->second.find(router);
    return stage == person->second.end() ? nullptr : &stage->second;
}

// What taking them would answer now, by destination.
std::map<int, desk::row_answer> tried_stage(console_state& console, const desk::moment& now)
{
    desk::batch_command tried;
    tried.rule = desk::batch_rule::rest;
    tried.dry_run = true;
    std::map<int, desk::row_answer> answers;
    for (desk::row_answer& row :
         desk::take_stage(console.desk, now, console.person, console.router, tried).rows)
        answers[row.wished.destination] = std::move(row);
    return answers;
}

// What speaks against taking a staged row now; empty: nothing. Of the link it is said elsewhere.
std::string trouble_of(const console_state& console, const desk::staged_row& row,
                       const desk::row_answer& tried)
{
    const auto& live = *desk::find_live(console.desk, console.router);
    const int destination = tried.wished.destination;
    const bool changed = desk::has_changed(live, destination, row);
    const bool is_change =
        tried.why == desk::reason::changed_since || tried.why == desk::reason::link_not_ready;
    if (!is_change) return tried.detail;
    if (!changed && tried.why == desk::reason::link_not_ready) return "";
    if (!changed) {
        const std::string open = open_take_text(console, console.router, destination);
        return open.empty() ? tried.detail : open;
    }
    const int shown = desk::source_shown(live, destination);
    return "changed since: it shows " + desk::source_text(console.desk, console.router, shown) +
           " by now, " + desk::taker_text(console.desk, console.router, destination, shown) +
           "; stage it again to keep it, or unstage it";
}

answer staged_row(const console_state& console, const desk::staged_row& row,
                  const desk::row_answer& tried)
{
    const int destination = tried.wished.destination;
    const desk::desk_state& desk = console.desk;
    const desk::route route{console.router, destination, row.source};
    const std::string trouble = trouble_of(console, row, tried);
    answer told;
    told.json = route_json(desk, route, row.seen);
    told.text = desk::destination_text(console.desk, console.router, destination) + ": " +
                desk::source_text(console.desk, console.router, row.seen) + " -> " +
                desk::source_text(console.desk, console.router, row.source);
    told.json["shown"] = known_source(desk, route) == row.source;
    if (!trouble.empty()) {
        told.text += " (" + trouble + ")";
        told.json["trouble"] = trouble;
    } else if (told.json["shown"]) {
        told.text += " (shown already)";
    }
    return told;
}

// Of the routers that are not in use: "Staged on back: 3 routes."
std::string staged_elsewhere(const console_state& console)
{
    std::string text;
    for (const auto& [id, router] : console.desk.house.routers) {
        const desk::stage_rows* const stage =
            id == console.router ? nullptr : find_stage(console, id);
        if (stage != nullptr)
            text += "Staged on " + router.settings.name + ": " + route_count(stage->size()) + ".\n";
    }
    return text;
}

answer nothing_staged(const console_state& console)
{
    const auto& router = *desk::find_router(console.desk, console.router);
    return {.text = "Nothing is staged on " + router.settings.name + ".\n",
            .json = {{"router", console.router}, {"rows", nlohmann::json::array()}}};
}

answer run_staged(console_state& console, const desk::moment& now, const call& /*call*/)
{
    answer result = nothing_staged(console);
    if (const desk::stage_rows* const stage = find_stage(console, console.router)) {
        const auto& router = *desk::find_router(console.desk, console.router);
        result.text = link_line(console, now, console.router) + "Staged on " +
                      router.settings.name + ", " + route_count(stage->size()) + ":\n";
        const auto tried = tried_stage(console, now);
        for (const auto& [destination, row] : *stage) {
            answer told = staged_row(console, row, tried.at(destination));
            result.text += "  " + told.text + "\n";
            result.json["rows"].push_back(std::move(told.json));
        }
    }
    result.text += staged_elsewhere(console);
    return result;
}

answer run_stage(console_state& console, const desk::moment& now, const call& call)
{
    desk::route route;
    answer result;
    if (!find_route(console, call, route, result)) return result;
    const desk::row_answer told = desk::stage_row(console.desk, now, console.person, route);
    if (told.why != desk::reason::none)
        return refusal("Not staged: " + told.detail + ".", verdict::refused);
    answer row = staged_row(console, *find_staged(console, console.router, route.destination),
                            tried_stage(console, now).at(route.destination));
    return {.text = "Staged " + row.text + ".\n", .json = std::move(row.json)};
}

answer run_unstage(console_state& console, const desk::moment& /*now*/, const call& call)
{
    std::string complaint;
    const auto destination = find_kept_destination(console, call.words[0], complaint);
    if (!destination) return refuse_lookup(console, complaint);
    const std::string name = desk::destination_text(console.desk, console.router, *destination);
    if (!desk::unstage_row(console.desk, console.person, console.router, *destination))
        return refusal(name + " is not staged.", verdict::refused);
    return {
        .text = "Unstaged " + name + ".\n",
        .json = {{"router", console.router},
                 {"destination", destination_json(console.desk, console.router, *destination)}}};
}

answer run_clear(console_state& console, const desk::moment& /*now*/, const call& /*call*/)
{
    const desk::stage_rows* const stage = find_stage(console, console.router);
    if (stage == nullptr) return nothing_staged(console);
    const std::size_t count = stage->size();
    desk::clear_stage(console.desk, console.person, console.router);
    return {.text = "Unstaged " + route_count(count) + ".\n",
            .json = {{"router", console.router}, {"count", count}}};
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
         "route a source now; alone: what is staged",
         "Sends the take to the router at once, and tells what became of it: confirmed\n"
         "only when the router itself shows the source. While the link is not ready\n"
         "nothing is sent, now or later.\n"
         "Alone it takes the staged list of the router in use as one batch: when one route\n"
         "is blocked (locked, or changed since it was staged), nothing is sent, unless\n"
         "--rest is given. Routes that went leave the list, blocked ones stay.\n"
         "  take \"MON A\" \"CAM 3\"\n"
         "  take --rest\n",
         run_take},
        {"stage",
         {argument::destination, argument::source},
         2,
         false,
         false,
         "DESTINATION SOURCE",
         "prepare a route; nothing is sent until \"take\"",
         "Adds the route to the staged list of the router in use, in place of an earlier\n"
         "one for the same destination. When the destination changes before the take, the\n"
         "route needs a decision: stage it again to keep it, or unstage it.\n",
         run_stage},
        {"staged",
         {},
         0,
         false,
         false,
         "",
         "show the staged list",
         "Shows for each staged route what its destination showed then, what it would\n"
         "show, and what speaks against taking it now.\n",
         run_staged},
        {"unstage",
         {argument::destination},
         1,
         false,
         false,
         "DESTINATION",
         "take a route off the staged list",
         "The destination stays as it is, and so do the other staged routes.\n",
         run_unstage},
        {"clear",
         {},
         0,
         false,
         false,
         "",
         "empty the staged list",
         "The staged list of the router in use; those of others stay.\n",
         run_clear},
        {"undo",
         {},
         0,
         true,
         true,
         "[--rest]",
         "put back what the last take changed",
         "Puts back what the destinations of your last take, salvo or rollback showed\n"
         "before; 50 steps, up to a day old. It refuses to guess: a route goes back only\n"
         "while its destination is known to show what that take put there. When one cannot\n"
         "go back, nothing is sent, unless --rest is given: then what can go back goes,\n"
         "and the step is used up.\n",
         run_undo},
        {"redo",
         {},
         0,
         true,
         true,
         "[--rest]",
         "take again what the last undo put back",
         "By the same rules as undo. Any other take ends what can be redone.\n",
         run_redo},
        {"back",
         {argument::destination},
         1,
         false,
         true,
         "DESTINATION",
         "route the source that was there before",
         "The last other source that this console has seen on the destination, whoever had\n"
         "taken it. Given again, when that one is shown, it leads back to the present one.\n",
         run_back},
        {"disconnect",
         {argument::destination},
         1,
         false,
         true,
         "DESTINATION",
         "route nothing to a destination",
         "Not every router can do that; one that cannot refuses it.\n",
         run_disconnect},
    };
    return COMMANDS;
}

} // namespace console
