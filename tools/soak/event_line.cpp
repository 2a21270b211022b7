#include "soak/event_line.h"

#include <charconv>
#include <sstream>

namespace soak {

std::optional<event_line> parse_event(std::string_view line)
{
    std::istringstream words{std::string(line)};
    std::string mark;
    std::string time;
    if (!(words >> mark >> time) || mark != "@") return std::nullopt;
    event_line event;
    std::string* text = &event.what;
    for (std::string word; words >> word;) {
        const std::size_t end = word.find('=');
        if (end != std::string::npos) {
            text = &event.values[word.substr(0, end)];
            word.erase(0, end + 1);
        }
        *text += (text->empty() ? "" : " ") + word;
    }
    return event;
}

std::optional<int> number_value(const event_line& event, const std::string& key)
{
    const auto found = event.values.find(key);
    if (found == event.values.end()) return std::nullopt;
    const std::string& text = found->second;
    int number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc()) return std::nullopt;
    return number;
}

std::optional<int> position_value(const event_line& event, const std::string& key)
{
    const auto index = number_value(event, key);
    if (!index || *index < 1) return std::nullopt;
    return *index - 1;
}

} // namespace soak
