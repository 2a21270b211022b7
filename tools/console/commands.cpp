#include "console/commands.h"

#include <algorithm>
#include <utility>

#include "console/lookup.h"
#include "console/view_text.h"

namespace console {

namespace {
void refuse(command_result& result, const std::string& why)
{
    result.text = why + '\n';
    result.refused = true;
}

ParentRecord request(console_state& state, const std::string& name)
{
    ParentRecord record;
    record.type = "command";
    record.command = name;
    record.id = std::to_string(++state.requests);
    return record;
}

void add_queue_record(console_state& state, command_result& result, const char* queue)
{
    ParentRecord record = request(state, "route output");
    record.fields["queue"] = queue;
    result.records.push_back(record);
}

// Returns false, with the result refused, when a word names nothing.
bool stage(console_state& state, const std::vector<common::word>& words, command_result& result)
{
    const router_view& view = state.view;
    std::string complaint;
    const int output =
        find_position(view.output_names, view.outputs, "output", words[1], complaint);
    const int input =
        output < 0 ? -1
                   : find_position(view.input_names, view.inputs, "input", words[2], complaint);
    if (input < 0) {
        refuse(result, complaint);
        return false;
    }
    add_queue_record(state, result, "add");
    result.records.back().fields["to output"] = std::to_string(output);
    result.records.back().fields["from input"] = std::to_string(input);
    note_staged(state.view, output, input);
    return true;
}

std::string staged_label(const router_view& view, std::size_t index)
{
    const auto& [output, input] = view.staged[index];
    return output_label(view, output) + " from " + input_label(view, input);
}

void run_flush(console_state& state, const std::vector<common::word>& /*words*/, us_time_t now,
               command_result& result)
{
    const router_view& view = state.view;
    if (view.staged.empty()) result.text += "Nothing was staged.\n";
    for (std::size_t index = 0; index < view.staged.size(); ++index)
        result.text += "Taking " + staged_label(view, index) + '\n';
    if (view.link != link_state::ready && !view.staged.empty())
        result.text += "The router is " + link_text(view) + "; it is asked when it is ready.\n";
    add_queue_record(state, result, "flush");
    note_flushed(state.view, now);
}

void run_stage(console_state& state, const std::vector<common::word>& words, us_time_t /*now*/,
               command_result& result)
{
    if (stage(state, words, result))
        result.text = "Staged " + staged_label(state.view, state.view.staged.size() - 1) + '\n';
}

void run_take(console_state& state, const std::vector<common::word>& words, us_time_t now,
              command_result& result)
{
    if (stage(state, words, result)) run_flush(state, words, now, result);
}

void run_discard(console_state& state, const std::vector<common::word>& /*words*/,
                 us_time_t /*now*/, command_result& result)
{
    const std::size_t count = state.view.staged.size();
    result.text = count == 0   ? "Nothing was staged.\n"
                  : count == 1 ? "Discarded 1 staged route.\n"
                               : "Discarded " + std::to_string(count) + " staged routes.\n";
    add_queue_record(state, result, "discard");
    note_discarded(state.view);
}

void run_routes(console_state& state, const std::vector<common::word>& /*words*/, us_time_t /*now*/,
                command_result& result)
{
    result.text = routes_text(state.view);
}

void run_inputs(console_state& state, const std::vector<common::word>& /*words*/, us_time_t /*now*/,
                command_result& result)
{
    result.text = inputs_text(state.view);
}

void run_outputs(console_state& state, const std::vector<common::word>& /*words*/,
                 us_time_t /*now*/, command_result& result)
{
    result.text = outputs_text(state.view);
}

void run_info(console_state& state, const std::vector<common::word>& /*words*/, us_time_t /*now*/,
              command_result& result)
{
    result.text = info_text(state.view);
}

void run_set(console_state& /*state*/, const std::vector<common::word>& words, us_time_t /*now*/,
             command_result& result)
{
    const std::vector<std::string>& names = setting_names();
    const std::string& name = words[1].text;
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        std::string known;
        for (const std::string& each : names)
            known += (known.empty() ? "" : ", ") + common::quote_word(each);
        return refuse(result, "There is no setting \"" + name + "\"; there is " + known + ".");
    }
    ParentRecord record;
    record.type = "message";
    record.command = "set";
    record.fields["name"] = name;
    record.fields["value"] = words[2].text;
    result.records.push_back(record);
}

void run_refresh(console_state& state, const std::vector<common::word>& /*words*/,
                 us_time_t /*now*/, command_result& result)
{
    ParentRecord record = request(state, "report");
    record.fields["what"] = "outputs";
    result.records.push_back(record);
}

void run_log(console_state& state, const std::vector<common::word>& words, us_time_t /*now*/,
             command_result& result)
{
    const std::vector<std::string>& names = log_level_names();
    const auto found = std::find(names.begin(), names.end(), words[1].text);
    if (found == names.end()) return refuse(result, "The levels are debug, note, warn and off.");
    static constexpr log_level LEVELS[] = {log_level::debug, log_level::note, log_level::warn,
                                           log_level::off};
    state.log = LEVELS[found - names.begin()];
}

void run_wait(console_state& /*state*/, const std::vector<common::word>& /*words*/,
              us_time_t /*now*/, command_result& result)
{
    result.wait = true;
}

void run_quit(console_state& /*state*/, const std::vector<common::word>& /*words*/,
              us_time_t /*now*/, command_result& result)
{
    result.quit = true;
}

void run_help(console_state& /*state*/, const std::vector<common::word>& /*words*/,
              us_time_t /*now*/, command_result& result)
{
    for (const command& each : all_commands()) {
        std::string line = "  " + std::string(each.name);
        if (!each.usage.empty()) line += ' ' + std::string(each.usage);
        line.resize(std::max<std::size_t>(line.size() + 2, 28), ' ');
        result.text += line + std::string(each.summary) + '\n';
    }
    result.text +=
        "Inputs and outputs are given by position (the numbers shown), by name or by the\n"
        "beginning of a name; names with blanks stand in quotes: take \"MON A\" 'CAM 2'\n"
        "Several commands on a line are separated by ;\n";
}
} // namespace

using enum argument_kind;

namespace {
const std::vector<command> COMMANDS = {
    {"take", {output, input}, "OUTPUT INPUT", "route an input to an output now", run_take},
    {"stage", {output, input}, "OUTPUT INPUT", "prepare a route for flush", run_stage},
    {"flush", {}, "", "take all staged routes at once", run_flush},
    {"discard", {}, "", "forget the staged routes", run_discard},
    {"wait", {}, "", "until every route is confirmed or 3 s are over", run_wait},
    {"routes", {}, "", "show what each output is routed from", run_routes},
    {"inputs", {}, "", "list the inputs", run_inputs},
    {"outputs", {}, "", "list the outputs", run_outputs},
    {"info", {}, "", "show the router's identity and link", run_info},
    {"refresh", {}, "", "ask the router for all routes again", run_refresh},
    {"set", {setting, value}, "NAME VALUE", "change a setting of the backend", run_set},
    {"log", {level}, "debug|note|warn|off", "which diagnostics to show", run_log},
    {"help", {}, "", "show this", run_help},
    {"quit", {}, "", "leave the console", run_quit},
};
const std::vector<std::string> SETTINGS = {"inputs", "ip address", "outputs", "port"};
const std::vector<std::string> LOG_LEVELS = {"debug", "note", "warn", "off"};
} // namespace

const std::vector<command>& all_commands()
{
    return COMMANDS;
}

const std::vector<std::string>& setting_names()
{
    return SETTINGS;
}

const std::vector<std::string>& log_level_names()
{
    return LOG_LEVELS;
}

command_result run_command(console_state& state, const std::vector<common::word>& words,
                           us_time_t now)
{
    command_result result;
    const auto found = std::find_if(COMMANDS.begin(), COMMANDS.end(), [&](const command& each) {
        return each.name == words[0].text;
    });
    if (found == COMMANDS.end()) {
        refuse(result, "There is no command \"" + words[0].text + "\"; \"help\" lists them.");
    } else if (words.size() != found->arguments.size() + 1) {
        const std::string usage = found->usage.empty() ? "" : " " + std::string(found->usage);
        refuse(result, "Usage: " + std::string(found->name) + usage);
    } else {
        found->run(state, words, now, result);
    }
    return result;
}

bool is_shown(log_level log, const std::string& line, bool about_link)
{
    if (line.starts_with("<WARN>") || line.starts_with("<ERR>"))
        return log >= (about_link ? log_level::note : log_level::warn);
    if (line.starts_with("<NOTE>")) return log >= log_level::note;
    return log >= log_level::debug;
}

} // namespace console
