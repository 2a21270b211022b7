#include "console/filter.h"

#include <algorithm>
#include <functional>
#include <set>

#include "console/positions.h"
#include "console/route_rows.h"
#include "tools/common/numbers.h"

namespace console {

namespace {
using position_rule = std::function<bool(const position&)>;

std::set<std::string> groups_of(const console_state& console, const std::string& router,
                                desk::side side)
{
    const desk::house_router& known = *desk::find_router(console.desk, router);
    std::set<std::string> groups;
    for (const auto& [index, label] :
         side == desk::side::sources ? known.source_labels : known.destination_labels)
        if (!label.group.empty()) groups.insert(label.group);
    return groups;
}

position_rule group_rule(const std::set<std::string>& groups, const std::string& kind,
                         const std::string& wanted, std::string& complaint)
{
    std::string there;
    for (const std::string& group : groups) {
        if (common::same_name(group, wanted))
            return [=](const position& each) {
                return common::same_name(each.group, wanted);
            };
        there += (there.empty() ? "" : ", ") + group;
    }
    complaint = "There is no group \"" + wanted + "\" of " + kind + "s" +
                (there.empty() ? "." : "; there is " + there + ".");
    return {};
}

position_rule text_rule(const std::string& text)
{
    return [=](const position& each) {
        return common::name_contains(each.alias, text) || common::name_contains(each.own, text) ||
               common::name_contains(each.group, text);
    };
}

position_rule range_rule(const std::string& router_name, int first_number, int first, int last,
                         std::string& complaint)
{
    if (last < first) {
        complaint = "The range " + std::to_string(first) + "-" + std::to_string(last) +
                    " ends before it begins.";
        return {};
    }
    if (first < first_number) {
        complaint =
            "The numbers of " + router_name + " begin at " + std::to_string(first_number) + ".";
        return {};
    }
    return [=](const position& each) {
        return each.index >= first - first_number && each.index <= last - first_number;
    };
}

// @GROUP, of a group that cannot be given without quotes.
bool is_quoted_group(const std::set<std::string>& groups, const std::string& text)
{
    return text.starts_with('@') && common::quote_word(text) != text &&
           std::any_of(groups.begin(), groups.end(), [&](const std::string& group) {
               return common::same_name(group, std::string_view(text).substr(1));
           });
}

// None, with a sentence, when the word cannot be understood.
position_rule rule_of(const console_state& console, const std::string& router, desk::side side,
                      const common::word& word, std::string& complaint)
{
    if (word.quoted && !is_quoted_group(groups_of(console, router, side), word.text))
        return text_rule(word.text);
    const desk::router_settings& settings = desk::find_router(console.desk, router)->settings;
    int number = 0;
    if (common::is_number(word.text) && common::read_decimal(word.text, number))
        return range_rule(settings.name, settings.first_number, number, number, complaint);
    if (const auto range = read_range(word.text))
        return range_rule(settings.name, settings.first_number, range->first, range->second,
                          complaint);
    if (word.text.starts_with('@'))
        return group_rule(groups_of(console, router, side), kind_of(side), word.text.substr(1),
                          complaint);
    if (!common::same_name(word.text, "problems")) return text_rule(word.text);
    if (side == desk::side::destinations)
        return [&](const position& each) {
            return is_problem(route_row_of(console, router, each.index));
        };
    complaint = "Sources have no problems: \"routes problems\" shows those of destinations.";
    return {};
}
} // namespace

std::optional<std::pair<int, int>> read_range(const std::string& text)
{
    const std::size_t dash = text.find('-');
    if (dash == std::string::npos) return std::nullopt;
    std::pair<int, int> range;
    const std::string first = text.substr(0, dash);
    const std::string last = text.substr(dash + 1);
    if (!common::is_number(first) || !common::read_decimal(first, range.first) ||
        !common::is_number(last) || !common::read_decimal(last, range.second))
        return std::nullopt;
    return range;
}

std::optional<std::vector<int>> find_positions(const console_state& console,
                                               const std::string& router, desk::side side,
                                               int count, std::span<const common::word> words,
                                               std::string& complaint)
{
    std::vector<position_rule> rules;
    for (const common::word& word : words) {
        rules.push_back(rule_of(console, router, side, word, complaint));
        if (!rules.back()) return std::nullopt;
    }
    std::vector<int> found;
    for (int index = 0; index < count; ++index) {
        const position here = position_at(console, router, side, index);
        if (std::all_of(rules.begin(), rules.end(), [&](const auto& rule) { return rule(here); }))
            found.push_back(index);
    }
    return found;
}

} // namespace console
