#include "console/completion.h"

#include <algorithm>

#include "console/commands.h"
#include "tools/common/words.h"

namespace console {

namespace {
std::vector<std::string> names_of(const std::vector<std::string>& names, int count)
{
    const auto used = std::min(names.size(), static_cast<std::size_t>(count));
    return {names.begin(), names.begin() + static_cast<std::ptrdiff_t>(used)};
}

std::vector<std::string> argument_choices(const router_view& view, argument_kind kind)
{
    switch (kind) {
    case argument_kind::output:
        return names_of(view.output_names, view.outputs);
    case argument_kind::input:
        return names_of(view.input_names, view.inputs);
    case argument_kind::setting:
        return setting_names();
    case argument_kind::level:
        return log_level_names();
    case argument_kind::value:
        return {};
    }
    return {};
}

// What may stand after the words of the command so far.
std::vector<std::string> possible_words(const router_view& view,
                                        const std::vector<common::word>& before)
{
    std::vector<std::string> possible;
    for (const command& each : all_commands()) {
        if (before.empty())
            possible.emplace_back(each.name);
        else if (each.name == before[0].text && before.size() <= each.arguments.size())
            return argument_choices(view, each.arguments[before.size() - 1]);
    }
    return possible;
}

// Inside a UTF-8 character.
bool is_continuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::string common_beginning(const std::vector<std::string>& choices)
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
std::string unfinished_word(const std::vector<std::string>& choices, bool quoted)
{
    std::string beginning = common_beginning(choices);
    if (!quoted && common::quote_word(beginning) == beginning) return beginning;
    return (beginning.find('"') == std::string::npos ? '"' : '\'') + beginning;
}
} // namespace

completion complete(const router_view& view, std::string_view text_before_cursor)
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
    for (const std::string& each : possible_words(view, before))
        if (!each.empty() && common::begins_name(each, unfinished.text))
            result.choices.push_back(each);
    if (result.choices.empty()) {
        result.replacement = text_before_cursor.substr(unfinished.start);
    } else if (result.choices.size() == 1) {
        result.replacement = common::quote_word(result.choices.front()) + ' ';
    } else {
        result.replacement = unfinished_word(result.choices, unfinished.quoted);
    }
    return result;
}

} // namespace console
