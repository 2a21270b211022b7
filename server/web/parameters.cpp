#include "server/web/parameters.h"

#include <algorithm>

#include "tools/common/numbers.h"

namespace web {

namespace {
void complain(std::vector<problem_at>& wrong, std::string_view name, const std::string& what)
{
    const std::string parameter(name);
    wrong.push_back({parameter, "badValue", parameter + what});
}
} // namespace

std::optional<std::string> read_text(const request& request, std::string_view name,
                                     std::vector<problem_at>& wrong, std::size_t longest,
                                     std::size_t shortest)
{
    const std::string* const text = find_parameter(request, name);
    if (text == nullptr) return {};
    if (text->size() >= shortest && text->size() <= longest) return *text;
    complain(wrong, name,
             " must have " + std::to_string(shortest) + " to " + std::to_string(longest) +
                 " bytes");
    return {};
}

std::optional<std::int64_t> read_integer(const request& request, std::string_view name,
                                         std::int64_t least, std::int64_t most,
                                         std::vector<problem_at>& wrong)
{
    const std::string* const text = find_parameter(request, name);
    if (text == nullptr) return {};
    std::int64_t number = 0;
    if (common::read_decimal(*text, number) && number >= least && number <= most) return number;
    complain(wrong, name,
             " must be a whole number from " + std::to_string(least) + " to " +
                 std::to_string(most));
    return {};
}

std::optional<desk::wall> read_time(const request& request, std::string_view name,
                                    std::vector<problem_at>& wrong)
{
    const std::string* const text = find_parameter(request, name);
    if (text == nullptr) return {};
    const std::optional<desk::wall> time = read_time(*text);
    if (!time) complain(wrong, name, " must be a time like 2026-11-22T14:02:11.080Z");
    return time;
}

std::optional<bool> read_flag(const request& request, std::string_view name,
                              std::vector<problem_at>& wrong)
{
    const auto word = read_word(request, name, {"false", "true"}, wrong);
    return word ? std::optional(*word == 1) : std::nullopt;
}

std::optional<std::size_t> read_word(const request& request, std::string_view name,
                                     const std::vector<std::string>& words,
                                     std::vector<problem_at>& wrong)
{
    const std::string* const text = find_parameter(request, name);
    if (text == nullptr) return {};
    const auto found = std::find(words.begin(), words.end(), *text);
    if (found != words.end()) return static_cast<std::size_t>(found - words.begin());
    std::string list;
    for (const std::string& word : words)
        list += (list.empty() ? "" : &word == &words.back() ? " or " : ", ") + word;
    complain(wrong, name, " must be " + list);
    return {};
}

} // namespace web
