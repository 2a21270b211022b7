#include "console/lookup.h"

#include <algorithm>
#include <cstddef>

#include "tools/common/numbers.h"

namespace console {

namespace {
// As many as a person cares to read in one line.
constexpr std::size_t MOST_CANDIDATES = 6;

using name_rule = bool (*)(std::string_view name, std::string_view wanted);

bool identical(std::string_view name, std::string_view wanted)
{
    return name == wanted;
}

std::vector<int> matches(const std::vector<std::string>& names, int count,
                         const std::string& wanted, name_rule rule)
{
    std::vector<int> found;
    const auto end = std::min(names.size(), static_cast<std::size_t>(count));
    for (std::size_t index = 0; index < end; ++index)
        if (rule(names[index], wanted)) found.push_back(static_cast<int>(index));
    return found;
}

std::string list_candidates(const std::vector<std::string>& names,
                            const std::vector<int>& positions)
{
    std::string text;
    for (std::size_t i = 0; i < positions.size() && i < MOST_CANDIDATES; ++i)
        text += (i > 0 ? ", " : "") + std::to_string(positions[i]) + " " +
                names[static_cast<std::size_t>(positions[i])];
    if (positions.size() > MOST_CANDIDATES)
        text += " and " + std::to_string(positions.size() - MOST_CANDIDATES) + " more";
    return text;
}

int find_number(const std::string& digits, int count, const std::string& kind,
                std::string& complaint)
{
    int position = 0;
    if (common::read_decimal(digits, position) && position < count) return position;
    complaint = "There is no " + kind + " " + digits;
    complaint += count > 0 ? ": they are numbered 0 to " + std::to_string(count - 1) + "."
                           : ": no " + kind + "s are known yet.";
    return -1;
}

std::string unknown_name(const std::vector<std::string>& names, int count, const std::string& kind,
                         const std::string& wanted)
{
    const std::string text = "There is no " + kind + " \"" + wanted + "\"";
    if (count == 0) return text + ": no " + kind + "s are known yet.";
    const std::vector<int> similar = matches(names, count, wanted, common::name_contains);
    if (wanted.empty() || similar.empty()) return text + "; \"" + kind + "s\" lists them.";
    return text + "; there is " + list_candidates(names, similar) + ".";
}
} // namespace

int find_position(const std::vector<std::string>& names, int count, const std::string& kind,
                  const common::word& wanted, std::string& complaint)
{
    if (!wanted.quoted && common::is_number(wanted.text))
        return find_number(wanted.text, count, kind, complaint);
    if (!wanted.text.empty()) {
        for (const name_rule rule : {identical, common::same_name, common::begins_name}) {
            const std::vector<int> found = matches(names, count, wanted.text, rule);
            if (found.size() == 1) return found.front();
            if (found.empty()) continue;
            complaint = "\"" + wanted.text + "\" may be " + list_candidates(names, found) + ".";
            return -1;
        }
    }
    complaint = unknown_name(names, count, kind, wanted.text);
    return -1;
}

} // namespace console
