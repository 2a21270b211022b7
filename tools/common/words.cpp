#include "tools/common/words.h"

#include <algorithm>

namespace common {

namespace {
char lower(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

bool same_letter(char left, char right)
{
    return lower(left) == lower(right);
}

bool is_blank(char character)
{
    return character == ' ' || character == '\t' || character == '\r';
}

bool is_quote(char character)
{
    return character == '"' || character == '\'';
}

// The word from the position on, which becomes the one after it.
word cut_word(std::string_view line, std::size_t& position, bool& open_quote)
{
    word result;
    result.start = position;
    char quote = 0;
    for (; position < line.size(); ++position) {
        const char character = line[position];
        if (quote != 0) {
            if (character == quote)
                quote = 0;
            else
                result.text += character;
        } else if (is_quote(character)) {
            quote = character;
            result.quoted = true;
        } else if (is_blank(character) || character == ';') {
            break;
        } else {
            result.text += character;
        }
    }
    open_quote = quote != 0;
    return result;
}
} // namespace

split_line split_words(std::string_view line)
{
    split_line result;
    bool in_command = false;
    std::size_t position = 0;
    while (position < line.size()) {
        result.open_word = false;
        if (line[position] == ';') {
            in_command = false;
            ++position;
        } else if (is_blank(line[position])) {
            ++position;
        } else {
            if (!in_command) result.commands.emplace_back();
            in_command = true;
            result.commands.back().push_back(cut_word(line, position, result.open_quote));
            result.open_word = true;
        }
    }
    result.open_command = in_command;
    return result;
}

std::string quote_word(const std::string& text)
{
    const bool plain = !text.empty() && !is_number(text) && !text.starts_with("--") &&
                       text.find_first_of(" \t\r;\"'") == std::string::npos;
    if (plain) return text;
    const char quote = text.find('"') == std::string::npos ? '"' : '\'';
    return quote + text + quote;
}

bool is_number(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool same_name(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), same_letter);
}

bool begins_name(std::string_view name, std::string_view beginning)
{
    return same_name(name.substr(0, beginning.size()), beginning);
}

bool name_contains(std::string_view name, std::string_view part)
{
    return std::search(name.begin(), name.end(), part.begin(), part.end(), same_letter) !=
           name.end();
}

} // namespace common
