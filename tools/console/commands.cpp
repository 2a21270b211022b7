#include "console/commands.h"

#include <algorithm>
#include <array>
#include <utility>

namespace console {

namespace {
constexpr std::size_t SHORTEST_BEGINNING = 2; // characters of a command's name

std::pair<std::string_view, std::string_view> parts_of(std::string_view name)
{
    const std::size_t blank = name.find(' ');
    if (blank == std::string_view::npos) return {name, {}};
    return {name.substr(0, blank), name.substr(blank + 1)};
}

void add_once(std::vector<std::string_view>& names, std::string_view name)
{
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

std::string listed(const std::vector<std::string_view>& names)
{
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + std::string(names[i]);
    return text;
}

// The one of these names that the text is or begins; empty, with a sentence, when there is none.
std::string_view choose(const std::vector<std::string_view>& names, const std::string& text,
                        const std::string& what, std::string& complaint)
{
    std::vector<std::string_view> begun;
    for (const std::string_view name : names) {
        if (common::same_name(name, text)) return name;
        if (text.size() >= SHORTEST_BEGINNING && common::begins_name(name, text))
            begun.push_back(name);
    }
    if (begun.size() == 1) return begun.front();
    complaint = begun.empty() ? "There is no " + what + " \"" + text + "\"; \"help\" lists them."
                              : "\"" + text + "\" may be " + listed(begun) + ".";
    return {};
}

const command* find_exactly(std::string_view name)
{
    const auto& commands = all_commands();
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [=](const command& each) { return each.name == name; });
    return found == commands.end() ? nullptr : &*found;
}

} // namespace

const command* find_command(std::vector<common::word>& words, std::string& complaint)
{
    std::vector<std::string_view> firsts;
    for (const command& each : all_commands())
        add_once(firsts, parts_of(each.name).first);
    const std::string_view first = choose(firsts, words[0].text, "command", complaint);
    if (first.empty()) return nullptr;
    words.erase(words.begin());
    std::vector<std::string_view> seconds;
    for (const command& each : all_commands())
        if (parts_of(each.name).first == first && !parts_of(each.name).second.empty())
            seconds.push_back(parts_of(each.name).second);
    if (seconds.empty()) return find_exactly(first);
    if (words.empty()) {
        complaint = std::string(first) + " needs one more word: " + listed(seconds) + ".";
        return nullptr;
    }
    const std::string whole(first);
    const std::string_view second = choose(seconds, words[0].text, whole + " command", complaint);
    if (second.empty()) return nullptr;
    words.erase(words.begin());
    return find_exactly(whole + " " + std::string(second));
}

desk::batch_command command_of(const call& call)
{
    return {{}, {}, call.rest ? desk::batch_rule::rest : desk::batch_rule::all, call.dry_run, ""};
}

namespace {
// Takes the options out of the words. False, with a sentence, when there is one that the command
// does not understand.
bool read_options(const command& command, call& call, std::string& complaint)
{
    const auto is_option = [](const common::word& word) {
        return !word.quoted && word.text.starts_with("--");
    };
    for (const common::word& word : call.words) {
        if (!is_option(word)) continue;
        if (word.text != "--rest" || !command.takes_rest) {
            complaint = std::string(command.name) + " has no option " + word.text + ".";
            return false;
        }
        call.rest = true;
    }
    std::erase_if(call.words, is_option);
    return true;
}

// A filter at the end has any number of words.
bool takes_as_many(const command& command, std::size_t words)
{
    const bool open_end =
        !command.arguments.empty() && command.arguments.back() == argument::filter;
    return words >= command.required && (open_end || words <= command.arguments.size());
}

answer run_found(console_state& console, const desk::moment& now, const command& found, call call)
{
    std::string complaint;
    if (!read_options(found, call, complaint)) return refusal(complaint, verdict::wrong_use);
    if (call.dry_run && !found.can_be_tried)
        return refusal("There is no dry run of " + std::string(found.name) + ".",
                       verdict::wrong_use);
    if (!takes_as_many(found, call.words.size())) {
        const std::string usage = found.usage.empty() ? "" : " " + std::string(found.usage);
        return refusal("Usage: " + std::string(found.name) + usage, verdict::wrong_use);
    }
    return found.run(console, now, call);
}

answer run_words(console_state& console, const desk::moment& now, std::vector<common::word> words,
                 bool dry_run)
{
    std::string complaint;
    const command* const found = find_command(words, complaint);
    if (found == nullptr) return refusal(complaint, verdict::wrong_use);
    answer answer =
        run_found(console, now, *found, {.words = std::move(words), .dry_run = dry_run});
    answer.json["command"] = found->name;
    return answer;
}
} // namespace

namespace {
std::string usage_of(const command& command)
{
    return std::string(command.name) + (command.usage.empty() ? "" : " ") +
           std::string(command.usage);
}

std::string all_help()
{
    constexpr std::size_t SUMMARY_COLUMN = 34;
    std::string text;
    for (const command& each : all_commands()) {
        std::string line = "  " + usage_of(each);
        if (line.size() + 2 > SUMMARY_COLUMN) {
            text += line + "\n";
            line.clear();
        }
        line.resize(SUMMARY_COLUMN, ' ');
        text += line + std::string(each.summary) + "\n";
    }
    return text;
}

nlohmann::json help_json(const command& command)
{
    return {{"name", command.name}, {"usage", usage_of(command)}, {"summary", command.summary}};
}

answer run_help(console_state& console, const desk::moment& /*now*/, const call& call)
{
    if (call.words.empty()) {
        const int first = desk::find_router(console.desk, console.router)->settings.first_number;
        answer all{.json = {{"commands", nlohmann::json::array()}}};
        for (const command& each : all_commands())
            all.json["commands"].push_back(help_json(each));
        all.text = all_help() + "\nNumbers begin at " + std::to_string(first) +
                   ". Sources and destinations are given by number, by name or by\n"
                   "the beginning of a name; names with blanks stand in quotes:\n"
                   "take \"MON A\" 'CAM 2'\nSeveral commands on a line are separated by ;\n";
        return all;
    }
    std::vector<common::word> words = call.words;
    std::string complaint;
    const command* const found = find_command(words, complaint);
    if (found == nullptr) return refusal(complaint, verdict::wrong_use);
    answer one{.text = usage_of(*found) + "\n" + std::string(found->help)};
    one.json = {{"commands", {help_json(*found)}}, {"help", found->help}};
    return one;
}

answer run_quit(console_state& /*console*/, const desk::moment& /*now*/, const call& /*call*/)
{
    return {.quit = true};
}

// Without words: the staged list. With those of a command: that one. Else a destination and a
// source, as take has them.
answer run_dry_run(console_state& console, const desk::moment& now, const call& call)
{
    std::vector<common::word> words = call.words;
    std::vector<common::word> behind_name = words;
    std::string complaint;
    const bool is_command =
        !words.empty() && !words[0].quoted && find_command(behind_name, complaint) != nullptr;
    if (!is_command) words.insert(words.begin(), {"take", false, 0});
    if (call.rest) words.push_back({"--rest", false, 0});
    return run_words(console, now, words, true);
}

const std::vector<command> GENERAL = {
    {"dry-run",
     {argument::command, argument::text, argument::text, argument::text},
     0,
     true,
     false,
     "[COMMAND | DESTINATION SOURCE]",
     "what take, undo, redo, back or salvo would do",
     "Answers what the command would, row by row, and sends nothing. Alone it tries\n"
     "the staged list.\n",
     run_dry_run},
    {"help",
     {argument::command, argument::text},
     0,
     false,
     false,
     "[COMMAND]",
     "show this, or more about a command",
     "",
     run_help},
    {"quit", {}, 0, false, false, "", "leave the console", "", run_quit},
    {"?",
     {argument::command, argument::text},
     0,
     false,
     false,
     "[COMMAND]",
     "the same as help",
     "",
     run_help},
    {"exit", {}, 0, false, false, "", "the same as quit", "", run_quit},
};
} // namespace

const std::vector<command>& all_commands()
{
    static const std::vector<command> ALL = [] {
        std::vector<command> all;
        for (const auto* part :
             {&take_commands(), &salvo_commands(), &lock_commands(), &show_commands(),
              &info_commands(), &record_commands(), &setting_commands(), &GENERAL})
            all.insert(all.end(), part->begin(), part->end());
        return all;
    }();
    return ALL;
}

answer run_command(console_state& console, const desk::moment& now,
                   const std::vector<common::word>& words)
{
    return run_words(console, now, words, false);
}

namespace {
// In a sentence; empty when it would not be gone.
std::string why_in_vain(const command& found, const std::vector<common::word>& arguments, bool kept)
{
    constexpr std::array<std::string_view, 2> STAGING = {"stage", "load"};
    constexpr std::array<std::string_view, 4> KEPT = {"lock", "protect", "salvo save", "set"};
    // The others of a router are said anew by each command line.
    constexpr std::array<std::string_view, 3> SET_KEPT = {"confirmation-limit", "alias", "group"};
    const auto is_one_of = [](const auto& names, std::string_view name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    if (arguments.empty()) return ""; // it is refused anyway, or only shows something
    const std::string gone =
        std::string(found.name) + " alone would last no longer than this command";
    if (is_one_of(STAGING, found.name))
        return gone + ": give it and take as lines on standard input.";
    const std::string& first = arguments[0].text;
    if (found.name == "set" && !is_one_of(setting_names(), first)) return ""; // likewise
    if (found.name == "set" && !is_one_of(SET_KEPT, first))
        return gone + ": the options of the next one say the " + first + " anew.";
    if (!kept && is_one_of(KEPT, found.name)) return gone + ": --data FILE keeps it.";
    return "";
}
} // namespace

std::optional<answer> refuse_in_vain(std::vector<common::word> words, bool kept)
{
    std::string unknown;
    const command* const found = find_command(words, unknown);
    if (found == nullptr) return refusal(unknown, verdict::wrong_use);
    const std::string why = why_in_vain(*found, words, kept);
    if (why.empty()) return std::nullopt;
    answer answer = refusal(why, verdict::wrong_use);
    answer.json["command"] = found->name;
    return answer;
}

bool concerns_all_routers(std::vector<common::word> words)
{
    constexpr std::array<std::string_view, 5> OF_ALL = {"undo", "redo", "routers", "watch",
                                                        "dry-run"};
    std::string unknown;
    const command* const found = find_command(words, unknown);
    return found != nullptr &&
           (found->name.starts_with("salvo ") ||
            std::find(OF_ALL.begin(), OF_ALL.end(), found->name) != OF_ALL.end());
}

} // namespace console
