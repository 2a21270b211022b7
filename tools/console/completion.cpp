#include "console/completion.h"

#include <algorithm>
#include <filesystem>

#include "console/commands.h"
#include "tools/common/words.h"

namespace console {

namespace {
using words_list = std::vector<std::string>;

void add_once(words_list& words, const std::string& word)
{
    if (std::find(words.begin(), words.end(), word) == words.end()) words.push_back(word);
}

// What people call the positions of the router in use: aliases, then the router's own names.
words_list position_names(const console_state& console, desk::side side)
{
    const desk::live_router& live = *desk::find_live(console.desk, console.router);
    const desk::house_router& router = *desk::find_router(console.desk, console.router);
    const bool sources = side == desk::side::sources;
    const auto& names = sources ? live.source_names : live.destination_names;
    const int count = sources ? live.inputs : live.outputs;
    words_list result;
    for (int i = 0; i < count; ++i) {
        const std::string& alias = desk::label_of(router, side, i).alias;
        if (!alias.empty()) add_once(result, alias);
        if (static_cast<std::size_t>(i) < names.size())
            add_once(result, names[static_cast<std::size_t>(i)]);
    }
    return result;
}

words_list filter_words(const console_state& console)
{
    const desk::house_router& router = *desk::find_router(console.desk, console.router);
    words_list result = {"problems"};
    for (const auto* labels : {&router.destination_labels, &router.source_labels})
        for (const auto& [position, label] : *labels)
            if (!label.group.empty()) add_once(result, "@" + label.group);
    return result;
}

words_list router_names(const console_state& console)
{
    words_list result;
    for (const auto& [id, router] : console.desk.house.routers)
        add_once(result, router.settings.name);
    return result;
}

words_list salvo_names(const console_state& console)
{
    words_list result;
    for (const auto& [id, salvo] : console.desk.house.salvos)
        add_once(result, salvo.name);
    return result;
}

// The files of the folder in which the path's last part is being typed; folders end with "/".
words_list file_names(const std::string& begun)
{
    const std::size_t slash = begun.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : begun.substr(0, slash + 1);
    words_list result;
    std::error_code error;
    for (std::filesystem::directory_iterator file(folder.empty() ? "." : folder, error), end;
         !error && file != end; file.increment(error)) {
        std::error_code ignored;
        const bool is_folder = file->is_directory(ignored);
        result.push_back(folder + file->path().filename().string() + (is_folder ? "/" : ""));
    }
    std::sort(result.begin(), result.end());
    return result;
}

// The first words of all commands, or the words that follow this beginning of one.
words_list command_words(const std::string& first)
{
    words_list result;
    for (const command& each : all_commands()) {
        const std::size_t blank = each.name.find(' ');
        const std::string begin(each.name.substr(0, blank));
        if (first.empty())
            add_once(result, begin);
        else if (common::begins_name(begin, first) && blank != std::string_view::npos)
            add_once(result, std::string(each.name.substr(blank + 1)));
    }
    return result;
}

words_list argument_words(const console_state& console, argument kind, const std::string& begun)
{
    switch (kind) {
    case argument::destination:
        return position_names(console, desk::side::destinations);
    case argument::source:
        return position_names(console, desk::side::sources);
    case argument::router:
        return router_names(console);
    case argument::salvo:
        return salvo_names(console);
    case argument::filter:
        return filter_words(console);
    case argument::setting:
        return setting_names();
    case argument::command:
        return command_words("");
    case argument::file:
        return file_names(begun);
    case argument::text:
        break;
    }
    return {};
}

bool wants_option(const command& command, const common::word& unfinished)
{
    return command.takes_rest && !unfinished.quoted && unfinished.text.starts_with('-');
}

struct possible_words {
    words_list words = {};
    bool options = false; // which are never quoted
};

// What may stand after the words of the command so far.
possible_words find_possible(const console_state& console, std::vector<common::word> before,
                             const common::word& unfinished)
{
    if (before.empty()) return {command_words("")};
    const std::string first = before[0].text;
    std::string complaint;
    const command* const found = find_command(before, complaint);
    if (found == nullptr) return {before.empty() ? command_words(first) : words_list{}};
    if (wants_option(*found, unfinished)) return {{"--rest"}, true};
    const auto& kinds = found->arguments;
    if (kinds.empty()) return {};
    if (before.size() < kinds.size())
        return {argument_words(console, kinds[before.size()], unfinished.text)};
    const bool goes_on = kinds.back() == argument::filter;
    return {goes_on ? filter_words(console) : words_list{}};
}

// Inside a UTF-8 character.
bool is_continuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::string common_beginning(const words_list& choices)
{
    std::string beginning = choices.front();
    for (const std::string& choice : choices)
        while (!common::begins_name(choice, beginning))
            beginning.pop_back();
    while (beginning.size() < choices.front().size() &&
           is_continuation(choices.front()[beginning.size()]))
        beginning.pop_back();
    return beginning;
}

// As far as the choices agree, with a quote left open where the rest may need it.
std::string unfinished_word(const words_list& choices, const common::word& typed)
{
    std::string beginning = common_beginning(choices);
    if (beginning.size() <= typed.text.size()) beginning = typed.text;
    const bool needs_none = beginning.empty() || common::quote_word(beginning) == beginning;
    if (!typed.quoted && needs_none) return beginning;
    return (beginning.find('"') == std::string::npos ? '"' : '\'') + beginning;
}

std::string finished_word(const std::string& choice, bool is_option)
{
    const std::string word = is_option ? choice : common::quote_word(choice);
    return choice.ends_with('/') ? word : word + ' '; // a folder goes on
}
} // namespace

completion complete(const console_state& console, std::string_view text_before_cursor)
{
    const common::split_line line = common::split_words(text_before_cursor);
    std::vector<common::word> before;
    if (line.open_command) before = line.commands.back();
    common::word unfinished;
    unfinished.start = text_before_cursor.size();
    if (line.open_word) {
        unfinished = before.back();
        before.pop_back();
    }
    completion result;
    result.start = unfinished.start;
    const possible_words possible = find_possible(console, std::move(before), unfinished);
    for (const std::string& each : possible.words)
        if (!each.empty() && common::begins_name(each, unfinished.text))
            result.choices.push_back(each);
    if (result.choices.empty())
        result.replacement = text_before_cursor.substr(unfinished.start);
    else if (result.choices.size() == 1)
        result.replacement = finished_word(result.choices.front(), possible.options);
    else
        result.replacement = unfinished_word(result.choices, unfinished);
    return result;
}

} // namespace console
