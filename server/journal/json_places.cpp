#include "server/journal/json_places.h"

#include <algorithm>

namespace journal {

void complain(const place& at, const std::string& what)
{
    throw misfit((at.path.empty() ? "it" : at.path) + " " + what);
}

std::string no_json(const std::string& text, std::size_t byte)
{
    const std::string_view before = std::string_view(text).substr(0, byte > 0 ? byte - 1 : 0);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t start = before.rfind('\n'); // npos + 1 is 0
    return "line " + std::to_string(line) + ", column " +
           std::to_string(before.size() - (start + 1) + 1) + ": this is no JSON";
}

bool has(const place& of, const char* name)
{
    return of.value.contains(name);
}

place member(const place& of, const std::string& name)
{
    const auto found = of.value.find(name);
    if (found == of.value.end()) complain(of, "has no \"" + name + "\"");
    return {*found, of.path.empty() ? name : of.path + "." + name, of.lenient};
}

void expect_object(const place& at)
{
    if (!at.value.is_object()) complain(at, "is no object");
}

void expect_members(const place& at, std::initializer_list<std::string_view> known)
{
    expect_object(at);
    if (at.lenient) return;
    for (const auto& each : at.value.items())
        if (std::find(known.begin(), known.end(), each.key()) == known.end())
            complain(at, "has an unknown member \"" + each.key() + "\"");
}

long long read_integer(const place& at, long long least, long long most)
{
    const bool fits = at.value.is_number_integer() &&
                      (!at.value.is_number_unsigned() ||
                       at.value.get<unsigned long long>() <= static_cast<unsigned long long>(most));
    const long long number = fits ? at.value.get<long long>() : least;
    if (!fits || number < least || number > most)
        complain(at, "must be a whole number from " + std::to_string(least) + " to " +
                         std::to_string(most));
    return number;
}

int read_int(const place& at, int least, int most)
{
    return static_cast<int>(read_integer(at, least, most));
}

desk::wall read_time(const place& at)
{
    return desk::wall(read_integer(at, 0, LAST_TIME));
}

std::string read_text(const place& at, std::size_t longest)
{
    if (!at.value.is_string()) complain(at, "is no text");
    std::string text = at.value.get<std::string>();
    if (text.size() > longest) complain(at, "has more than " + std::to_string(longest) + " bytes");
    return text;
}

bool read_flag(const place& of, const char* name)
{
    if (!has(of, name)) return false;
    const place at = member(of, name);
    if (!at.value.is_boolean()) complain(at, "is neither true nor false");
    return at.value.get<bool>();
}

} // namespace journal
