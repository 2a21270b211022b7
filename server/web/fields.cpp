#include "server/web/fields.h"

#include <algorithm>

#include "tools/common/characters.h"

namespace web {

namespace {
// As a JSON pointer writes a member's name.
std::string escaped(const std::string& name)
{
    std::string text;
    for (const char letter : name) {
        if (letter == '~')
            text += "~0";
        else if (letter == '/')
            text += "~1";
        else
            text += letter;
    }
    return text;
}
} // namespace

fields fields_of(const json& value, std::string at, std::vector<problem_at>& wrong)
{
    static const json NOTHING = json::object();
    if (value.is_object()) return {value, std::move(at), wrong};
    wrong.push_back({at, "badValue", (at.empty() ? "the body" : at) + " must be an object"});
    return {NOTHING, std::move(at), wrong};
}

void complain(fields& fields, const std::string& name, const std::string& detail,
              const std::string& code)
{
    fields.wrong.push_back({fields.at + "/" + escaped(name), code, detail});
}

const json* find_member(fields& fields, const std::string& name)
{
    fields.known.insert(name);
    const auto found = fields.object.find(name);
    return found == fields.object.end() ? nullptr : &*found;
}

std::optional<std::string> read_text(fields& fields, const std::string& name, std::size_t longest,
                                     std::size_t shortest)
{
    std::optional<std::string> text = read_secret(fields, name, longest, shortest);
    const std::string complaint = common::complaint_about(text.value_or(""));
    if (complaint.empty()) return text;
    complain(fields, name, name + " " + complaint);
    return {};
}

std::optional<std::string> read_secret(fields& fields, const std::string& name, std::size_t longest,
                                       std::size_t shortest)
{
    const json* const value = find_member(fields, name);
    if (value == nullptr) return {};
    if (!value->is_string()) {
        complain(fields, name, name + " must be a text");
        return {};
    }
    const auto& text = value->get_ref<const std::string&>();
    if (text.size() >= shortest && text.size() <= longest) return text;
    complain(fields, name,
             text.size() < shortest
                 ? name + (shortest == 1 ? " must not be empty" : " is too short")
                 : name + " must have " + std::to_string(longest) + " bytes at most");
    return {};
}

std::optional<std::int64_t> read_integer(fields& fields, const std::string& name,
                                         std::int64_t least, std::int64_t most)
{
    const json* const value = find_member(fields, name);
    if (value == nullptr) return {};
    // A number above what is signed is kept unsigned, and too large for anything here.
    if (value->is_number_integer() &&
        (!value->is_number_unsigned() || value->get<std::uint64_t>() <= INT64_MAX)) {
        const auto number = value->get<std::int64_t>();
        if (number >= least && number <= most) return number;
    }
    complain(fields, name,
             name + " must be a whole number from " + std::to_string(least) + " to " +
                 std::to_string(most));
    return {};
}

std::optional<desk::wall> read_time(fields& fields, const std::string& name)
{
    const json* const value = find_member(fields, name);
    if (value == nullptr) return {};
    const auto time =
        value->is_string() ? read_time(value->get_ref<const std::string&>()) : std::nullopt;
    if (!time) complain(fields, name, name + " must be a time like 2026-11-22T14:02:11.080Z");
    return time;
}

std::optional<bool> read_flag(fields& fields, const std::string& name)
{
    const json* const value = find_member(fields, name);
    if (value == nullptr) return {};
    if (value->is_boolean()) return value->get<bool>();
    complain(fields, name, name + " must be true or false");
    return {};
}

std::optional<std::size_t> read_word(fields& fields, const std::string& name,
                                     const std::vector<std::string>& words)
{
    const json* const value = find_member(fields, name);
    if (value == nullptr) return {};
    if (value->is_string()) {
        const auto found =
            std::find(words.begin(), words.end(), value->get_ref<const std::string&>());
        if (found != words.end()) return static_cast<std::size_t>(found - words.begin());
    }
    std::string list;
    for (const std::string& word : words)
        list += (list.empty() ? "" : &word == &words.back() ? " or " : ", ") + word;
    complain(fields, name, name + " must be " + list);
    return {};
}

const json* read_array(fields& fields, const std::string& name, std::size_t most)
{
    const json* const value = find_member(fields, name);
    if (value != nullptr && value->is_array() && value->size() <= most) return value;
    complain(fields, name,
             value == nullptr
                 ? name + " is missing"
                 : name + " must be an array of " + std::to_string(most) + " entries at most");
    return nullptr;
}

void require(fields& fields, const std::string& name)
{
    if (find_member(fields, name) == nullptr) complain(fields, name, name + " is missing");
}

void finish(fields& fields)
{
    for (const auto& each : fields.object.items())
        if (!fields.known.contains(each.key()))
            complain(fields, each.key(), "there is no " + each.key() + " here");
}

problem problem_of(std::vector<problem_at> wrong, const std::string& router)
{
    problem problem;
    problem.code = wrong.front().code;
    problem.detail = wrong.front().detail;
    problem.status = 422;
    problem.router = router;
    problem.errors = std::move(wrong);
    return problem;
}

} // namespace web
