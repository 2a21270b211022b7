#include "router_simulator/scenario/located_json.h"

#include <iterator>

namespace router_simulator {

using nlohmann::json;

namespace {
// The bytes of the text, counting lines on the way.
struct counting_reader {
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    const char* position;
    text_positions* seen;

    reference operator*() const
    {
        return *position;
    }
    counting_reader& operator++()
    {
        if (*position == '\n') ++seen->line;
        ++position;
        return *this;
    }
    bool operator==(const counting_reader& other) const
    {
        return position == other.position;
    }
    bool operator!=(const counting_reader& other) const
    {
        return position != other.position;
    }
};
} // namespace

bool refuse(std::size_t line, const std::string& reason, std::string& error)
{
    error = std::to_string(line) + ": " + reason;
    return false;
}

std::size_t line_of(const located_object& from, const std::string& key)
{
    const auto found = from.lines.find(key);
    return found == from.lines.end() ? from.line : found->second;
}

bool refuse_key(const located_object& from, const std::string& key, const std::string& expected,
                std::string& error)
{
    return refuse(line_of(from, key), "\"" + key + "\" is not " + expected, error);
}

namespace {
void note_key(text_positions& seen, key_lines& lines, const std::string& key)
{
    if (!lines.emplace(key, seen.line).second && seen.error.empty())
        refuse(seen.line, "\"" + key + "\" stands here twice", seen.error);
}

// The levels are those of the file's form: its object, a list, a member, its keys.
bool note_position(text_positions& seen, int depth, json::parse_event_t event, const json& parsed)
{
    if (event == json::parse_event_t::key && depth == 1)
        note_key(seen, seen.keys, parsed.get<std::string>());
    if (depth == 2 && event == json::parse_event_t::object_start) {
        seen.members.push_back(seen.line);
        seen.member_keys.emplace_back();
    }
    if (event == json::parse_event_t::key && depth == 3 && !seen.member_keys.empty())
        note_key(seen, seen.member_keys.back(), parsed.get<std::string>());
    return true;
}

// The library's own words without its names for the error and the place.
std::string syntax_reason(const std::string& message)
{
    const std::size_t column = message.find(", column ");
    const std::size_t start = message.find(": ", column == std::string::npos ? 0 : column);
    if (column != std::string::npos && start != std::string::npos) return message.substr(start + 2);
    const std::size_t bracket = message.find("] ");
    return bracket == std::string::npos ? message : message.substr(bracket + 2);
}
} // namespace

bool parse_located(const std::string& text, json& parsed, text_positions& seen, std::string& error)
{
    const char* const start = text.data();
    try {
        parsed =
            json::parse(counting_reader{start, &seen}, counting_reader{start + text.size(), &seen},
                        [&seen](int depth, json::parse_event_t event, json& part) {
                            return note_position(seen, depth, event, part);
                        });
    } catch (const json::exception& thrown) {
        if (seen.error.empty()) refuse(seen.line, syntax_reason(thrown.what()), seen.error);
    }
    error = seen.error;
    return error.empty();
}

const json* find(located_object& from, const std::string& key)
{
    from.used.insert(key);
    const auto found = from.object.find(key);
    return found == from.object.end() ? nullptr : &*found;
}

const json* need(located_object& from, const std::string& key, std::string& error)
{
    const json* const found = find(from, key);
    if (found == nullptr) refuse(from.line, "\"" + key + "\" is missing", error);
    return found;
}

bool check_all_used(const located_object& from, std::string& error)
{
    for (const auto& [key, line] : from.lines)
        if (!from.used.contains(key)) return refuse(line, "unknown key \"" + key + "\"", error);
    return true;
}

} // namespace router_simulator
