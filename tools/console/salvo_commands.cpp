#include <algorithm>
#include <iterator>
#include <span>

#include "console/batch_answer.h"
#include "console/batch_text.h"
#include "console/commands.h"
#include "console/filter.h"
#include "console/lookup.h"
#include "console/positions.h"
#include "console/route_names.h"
#include "console/times.h"
#include "server/desk/salvos.h"
#include "server/desk/undo.h"
#include "server/desk/words.h"
#include "tools/common/text_table.h"

namespace console {

namespace {
// Null, with the answer, when there is none that the word names.
const desk::salvo* find_salvo(const console_state& console, const common::word& name,
                              desk::ulid& id, answer& wrong)
{
    std::string complaint;
    const auto found = find_salvo(console, name, complaint);
    if (!found) {
        wrong = refusal(complaint, verdict::wrong_use);
        return nullptr;
    }
    id = *found;
    return &console.desk.house.salvos.at(id);
}

// The last batch of the salvo that counts. Null when there is none.
const desk::ulid* find_run(const desk::house& house, const desk::ulid& salvo,
                           bool (*counts)(const desk::house&, const desk::ulid&))
{
    const auto is_run = [&](const auto& batch) {
        return batch.second.kind == desk::batch_kind::salvo && batch.second.of == salvo &&
               counts(house, batch.first);
    };
    const auto run = std::find_if(house.batches.rbegin(), house.batches.rend(), is_run);
    return run == house.batches.rend() ? nullptr : &run->first;
}

// Of which anything went, or needed not to.
bool was_carried_out(const desk::house& house, const desk::ulid& batch)
{
    const std::vector<desk::wish>& rows = house.batches.at(batch).rows;
    return std::any_of(rows.begin(), rows.end(), desk::was_accepted);
}

std::vector<desk::route> staged_routes(const console_state& console)
{
    std::vector<desk::route> rows;
    const auto stages = console.desk.stages.find(console.person.person);
    if (stages == console.desk.stages.end()) return rows;
    for (const auto& [router, stage] : stages->second)
        for (const auto& [destination, row] : stage)
            rows.push_back({router, destination, row.source});
    return rows;
}

answer run_list(console_state& console, const desk::moment& /*now*/, const call& /*call*/)
{
    answer result{.json = {{"salvos", nlohmann::json::array()}}};
    common::text_table table{
        "", {{"SALVO"}, {"ROUTES", true}, {"VERSION", true}, {"SAVED"}, {"BY"}}, {}};
    for (const auto& [id, salvo] : console.desk.house.salvos) {
        const desk::salvo_version& newest = salvo.versions.back();
        table.rows.push_back({salvo.name, std::to_string(newest.rows.size()),
                              std::to_string(newest.number), day_and_time(newest.saved),
                              newest.author});
        result.json["salvos"].push_back({{"name", salvo.name},
                                         {"version", newest.number},
                                         {"saved", json_time(newest.saved)},
                                         {"author", newest.author},
                                         {"count", newest.rows.size()}});
    }
    result.text = table.rows.empty() ? "There are no salvos.\n" : common::terminal_text(table);
    return result;
}

// What the destinations of the router in use show now. False, with the answer, when that is not
// known of one, or there is none.
bool find_shown_routes(const console_state& console, std::span<const common::word> filter,
                       std::vector<desk::route>& rows, answer& wrong)
{
    std::string complaint;
    const auto found = find_positions(
        console, console.router, desk::side::destinations,
        routed_positions(console, console.router, desk::side::destinations), filter, complaint);
    if (!found) {
        wrong = refusal(complaint, verdict::wrong_use);
        return false;
    }
    for (const int destination : *found) {
        desk::route row{console.router, destination, desk::NO_SOURCE};
        row.source = known_source(console.desk, row);
        if (row.source == desk::UNKNOWN_SOURCE) {
            wrong = refusal("Not saved: what " +
                                desk::destination_text(console.desk, console.router, destination) +
                                " shows now is not known.",
                            verdict::refused);
            return false;
        }
        rows.push_back(row);
    }
    if (rows.empty()) wrong = refusal("No destination fits that.", verdict::refused);
    return !rows.empty();
}

answer run_save(console_state& console, const desk::moment& now, const call& call)
{
    std::vector<desk::route> rows;
    answer wrong;
    const bool from_stage = call.words.size() == 1;
    if (from_stage) rows = staged_routes(console);
    if (from_stage && rows.empty())
        return refusal("Nothing is staged, so there is nothing to save.", verdict::refused);
    if (!from_stage && !find_shown_routes(console, std::span(call.words).subspan(1), rows, wrong))
        return wrong;
    const desk::salvo_answer saved =
        desk::save_salvo(console.desk, now, console.person, call.words[0].text, rows);
    if (saved.why != desk::reason::none)
        return refusal("Not saved: " + saved.detail + ".", verdict::refused);
    const desk::salvo& salvo = console.desk.house.salvos.at(saved.id);
    const int version = salvo.versions.back().number;
    answer result{
        .json = {{"salvo", salvo.name}, {"version", version}, {"rows", nlohmann::json::array()}}};
    result.text = "Saved salvo " + salvo.name + ", version " + std::to_string(version) + ", " +
                  route_count(rows.size()) + ":\n";
    for (const desk::route& row : rows) {
        result.text += "  " + route_text(console, row) + "\n";
        result.json["rows"].push_back(
            route_json(console.desk, row, known_source(console.desk, row)));
    }
    return result;
}

std::string shown_text(const console_state& console, const desk::route& row)
{
    const int shown = known_source(console.desk, row);
    if (shown == row.source) return "shown now";
    if (shown == desk::UNKNOWN_SOURCE) return "what it shows now is not known";
    return "now " + desk::source_text(console.desk, row.router, shown);
}

answer run_show(console_state& console, const desk::moment& /*now*/, const call& call)
{
    answer result;
    desk::ulid id;
    const desk::salvo* const salvo = find_salvo(console, call.words[0], id, result);
    if (salvo == nullptr) return result;
    const desk::salvo_version& newest = salvo->versions.back();
    result.text = "Salvo " + salvo->name + ", version " + std::to_string(newest.number) +
                  ", saved by " + newest.author + " at " + day_and_time(newest.saved) + ", " +
                  route_count(newest.rows.size()) + ":\n";
    result.json = {{"salvo", salvo->name},
                   {"version", newest.number},
                   {"saved", json_time(newest.saved)},
                   {"author", newest.author},
                   {"rows", nlohmann::json::array()}};
    for (const desk::route& row : newest.rows) {
        result.text += "  " + route_text(console, row) + " (" + shown_text(console, row) + ")\n";
        result.json["rows"].push_back(
            route_json(console.desk, row, known_source(console.desk, row)));
    }
    const desk::ulid* const run = find_run(console.desk.house, id, was_carried_out);
    if (run == nullptr) return result;
    const desk::batch& batch = console.desk.house.batches.at(*run);
    result.json["lastRun"] = {{"batch", desk::text_of(*run)}, {"at", json_time(batch.made)}};
    result.text += "Taken last at " + day_and_time(batch.made) + ": " +
                   (has_ended(console.desk.house, *run) ? figures_text(batch) : "under way") +
                   ".\n";
    return result;
}

// Of a batch that was made of the salvo. `which` tells it apart: "version 2".
answer salvo_answer(const console_state& console, const desk::salvo& salvo,
                    const std::string& which, const desk::take_answer& told,
                    const batch_asked& asked)
{
    answer result = batch_answer(console, told, asked);
    result.text.insert(0, "Salvo " + salvo.name + ", " + which + ":\n");
    result.json["salvo"] = salvo.name;
    return result;
}

answer run_take(console_state& console, const desk::moment& now, const call& call)
{
    answer result;
    desk::ulid id;
    const desk::salvo* const salvo = find_salvo(console, call.words[0], id, result);
    if (salvo == nullptr) return result;
    const int version = salvo->versions.back().number;
    result =
        salvo_answer(console, *salvo, "version " + std::to_string(version),
                     desk::run_salvo(console.desk, now, console.person, id, 0, command_of(call)),
                     {desk::batch_kind::salvo, call.rest, call.dry_run});
    result.json["version"] = version;
    return result;
}

answer run_rollback(console_state& console, const desk::moment& now, const call& call)
{
    answer result;
    desk::ulid id;
    const desk::salvo* const salvo = find_salvo(console, call.words[0], id, result);
    if (salvo == nullptr) return result;
    const desk::house& house = console.desk.house;
    const desk::ulid* run = find_run(house, id, desk::may_have_changed);
    if (run == nullptr) run = find_run(house, id, was_carried_out);
    if (run == nullptr)
        return refusal("Salvo " + salvo->name + " has not been taken here.", verdict::refused);
    const desk::ulid batch = *run;
    const desk::wall taken = house.batches.at(batch).made;
    return salvo_answer(console, *salvo, "taken at " + day_and_time(taken),
                        desk::roll_back(console.desk, now, console.person, batch, command_of(call)),
                        {desk::batch_kind::rollback, call.rest, call.dry_run, batch});
}

answer run_delete(console_state& console, const desk::moment& now, const call& call)
{
    answer result;
    desk::ulid id;
    const desk::salvo* const salvo = find_salvo(console, call.words[0], id, result);
    if (salvo == nullptr) return result;
    const std::string name = salvo->name;
    const desk::objection found = desk::delete_salvo(console.desk, now, console.person, id);
    if (found.why != desk::reason::none)
        return refusal("Not deleted: " + found.detail + ".", verdict::refused);
    return {.text = "Deleted salvo " + name + ".\n", .json = {{"salvo", name}}};
}
} // namespace

const std::vector<command>& salvo_commands()
{
    static const std::vector<command> COMMANDS = {
        {"salvo list",
         {},
         0,
         false,
         false,
         "",
         "show which salvos there are",
         "A salvo is a list of routes with a name, on one or several routers.\n",
         run_list},
        {"salvo save",
         {argument::salvo, argument::filter},
         1,
         false,
         false,
         "NAME [FILTER...]",
         "save what is staged, or shown now, as a salvo",
         "Saves the staged routes of all routers, which stay staged. With a filter, as in\n"
         "\"destinations FILTER\", it saves what these destinations of the router in use\n"
         "show now.\n"
         "A salvo that has this name gets one more version.\n"
         "  salvo save NEWS\n"
         "  salvo save \"AS IT IS\" 1-16\n",
         run_save},
        {"salvo show",
         {argument::salvo},
         1,
         false,
         false,
         "NAME",
         "show a salvo's routes and its last run",
         "And beside each route what its destination shows now.\n",
         run_show},
        {"salvo take",
         {argument::salvo},
         1,
         true,
         true,
         "NAME [--rest]",
         "take all routes of a salvo as one batch",
         "When one route is blocked, nothing is sent, unless --rest is given: then what\n"
         "can go goes.\n",
         run_take},
        {"salvo rollback",
         {argument::salvo},
         1,
         true,
         true,
         "NAME [--rest]",
         "put back what a salvo's last run changed",
         "By the rules of undo: a route goes back only while its destination is known to\n"
         "show what the salvo put there.\n",
         run_rollback},
        {"salvo delete",
         {argument::salvo},
         1,
         false,
         false,
         "NAME",
         "delete a salvo with all its versions",
         "What it has routed stays as it is.\n",
         run_delete},
    };
    return COMMANDS;
}

} // namespace console
