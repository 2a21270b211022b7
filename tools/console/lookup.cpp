#include "console/lookup.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "console/positions.h"
#include "server/desk/checks.h"
#include "server/desk/words.h"
#include "tools/common/numbers.h"
#include "tools/common/text_width.h"

namespace console {

namespace {
constexpr std::size_t MOST_CANDIDATES = 6;    // that a person cares to read in one line
constexpr std::size_t SHORTEST_BEGINNING = 2; // characters

struct candidate {
    std::string number; // as people see it; empty: it has none
    std::vector<std::string> names;
};

using name_rule = bool (*)(std::string_view name, std::string_view wanted);

bool identical(std::string_view name, std::string_view wanted)
{
    return name == wanted;
}

bool begins(std::string_view name, std::string_view wanted)
{
    return common::character_count(wanted) >= SHORTEST_BEGINNING &&
           common::begins_name(name, wanted);
}

bool contains(std::string_view name, std::string_view wanted)
{
    return !wanted.empty() && common::name_contains(name, wanted);
}

std::vector<std::size_t> matches(const std::vector<candidate>& candidates,
                                 const std::string& wanted, name_rule rule)
{
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < candidates.size(); ++i)
        if (std::any_of(candidates[i].names.begin(), candidates[i].names.end(),
                        [&](const auto& name) { return !name.empty() && rule(name, wanted); }))
            found.push_back(i);
    return found;
}

std::string list_text(const std::vector<candidate>& candidates,
                      const std::vector<std::size_t>& found)
{
    std::string text;
    for (std::size_t i = 0; i < found.size() && i < MOST_CANDIDATES; ++i) {
        const candidate& each = candidates[found[i]];
        text += (i > 0 ? ", " : "") + each.number + (each.number.empty() ? "" : " ") +
                each.names.front();
    }
    if (found.size() > MOST_CANDIDATES)
        text += " and " + std::to_string(found.size() - MOST_CANDIDATES) + " more";
    return text;
}

std::string unknown_text(const std::vector<candidate>& candidates, const std::string& kind,
                         const std::string& wanted)
{
    const std::string text = "There is no " + kind + " \"" + wanted + "\"";
    if (candidates.empty()) return text + ": no " + kind + "s are known.";
    const std::vector<std::size_t> similar = matches(candidates, wanted, contains);
    const std::string lister = kind == "salvo" ? "salvo list" : kind + "s";
    if (similar.empty()) return text + "; \"" + lister + "\" lists them.";
    return text + "; there is " + list_text(candidates, similar) + ".";
}

std::string barred_text(const std::string& name, const std::string& kind, std::size_t routed,
                        std::size_t others)
{
    return name + " cannot be routed: " + std::to_string(routed) + " of " +
           std::to_string(routed + others) + " " + kind + "s can be.";
}

// `barred` are listed and cannot be meant: the name of one is complained of, before a beginning
// leads to another.
std::optional<std::size_t> find(const std::vector<candidate>& candidates,
                                const std::vector<candidate>& barred, const std::string& kind,
                                const std::string& wanted, std::string& complaint,
                                bool beginnings = true)
{
    for (const name_rule rule : {identical, common::same_name, begins}) {
        if (rule == begins && !beginnings) break;
        const std::vector<std::size_t> found = matches(candidates, wanted, rule);
        if (found.size() == 1) return found.front();
        if (!found.empty()) {
            complaint = "\"" + wanted + "\" may be " + list_text(candidates, found) + ".";
            return std::nullopt;
        }
        if (rule == begins) break;
        if (const auto named = matches(barred, wanted, rule); !named.empty()) {
            complaint = barred_text(barred[named.front()].names.front(), kind, candidates.size(),
                                    barred.size());
            return std::nullopt;
        }
    }
    complaint = unknown_text(candidates, kind, wanted);
    return std::nullopt;
}

// Those without any name are known by number alone.
std::vector<candidate> positions(const console_state& console, desk::side side, int first, int end)
{
    std::vector<candidate> found;
    for (int index = first; index < end; ++index) {
        const position known = position_at(console, console.router, side, index);
        found.push_back({known.number, {known.alias, known.own}});
        if (known.alias.empty()) std::swap(found.back().names.front(), found.back().names.back());
    }
    return found;
}

bool is_position(const common::word& word)
{
    return !word.quoted && common::is_number(word.text);
}

// None, with a sentence, when the number is that of no candidate.
std::optional<std::size_t> find_number(const std::vector<candidate>& candidates,
                                       const std::vector<candidate>& barred, int first,
                                       const std::string& kind, const std::string& wanted,
                                       std::string& complaint)
{
    std::size_t number = 0;
    const auto begin = static_cast<std::size_t>(first);
    const bool listed = common::read_decimal(wanted, number) && number >= begin &&
                        number - begin < candidates.size() + barred.size();
    if (listed && number - begin < candidates.size()) return number - begin;
    if (listed) {
        const candidate& named = barred[number - begin - candidates.size()];
        complaint = barred_text(named.names.front().empty() ? kind + " " + named.number
                                                            : named.names.front(),
                                kind, candidates.size(), barred.size());
    } else {
        complaint = "There is no " + kind + " " + wanted + ": they are numbered " +
                    std::to_string(first) + " to " + std::to_string(begin + candidates.size() - 1) +
                    ".";
    }
    return std::nullopt;
}

std::optional<int> find_position(const console_state& console, desk::side side,
                                 const common::word& wanted, std::string& complaint,
                                 const word_reading& reading)
{
    const int routed = side == desk::side::sources
                           ? desk::sources_of(console.desk, console.router)
                           : desk::destinations_of(console.desk, console.router);
    const int all = std::max(routed, all_positions(console, console.router, side));
    const std::vector<candidate> candidates = positions(console, side, 0, routed);
    const std::vector<candidate> barred = positions(console, side, routed, all);
    const int first = reading.first_number.value_or(
        desk::find_router(console.desk, console.router)->settings.first_number);
    const auto found =
        is_position(wanted)
            ? find_number(candidates, barred, first, kind_of(side), wanted.text, complaint)
            : find(candidates, barred, kind_of(side), wanted.text, complaint, reading.beginnings);
    return found ? std::optional(static_cast<int>(*found)) : std::nullopt;
}
} // namespace

std::optional<int> find_source(const console_state& console, const common::word& wanted,
                               std::string& complaint, const word_reading& reading)
{
    return find_position(console, desk::side::sources, wanted, complaint, reading);
}

std::optional<int> find_destination(const console_state& console, const common::word& wanted,
                                    std::string& complaint, const word_reading& reading)
{
    return find_position(console, desk::side::destinations, wanted, complaint, reading);
}

std::optional<int> find_kept_destination(const console_state& console, const common::word& wanted,
                                         std::string& complaint)
{
    const auto found = find_destination(console, wanted, complaint);
    if (found || !is_position(wanted)) return found;
    const int first = desk::find_router(console.desk, console.router)->settings.first_number;
    int number = 0;
    if (!common::read_decimal(wanted.text, number) || number < first ||
        number - first >= desk::ROUTED_POSITIONS)
        return std::nullopt;
    return number - first;
}

std::optional<std::string> find_router(const console_state& console, const common::word& wanted,
                                       std::string& complaint, const word_reading& reading)
{
    std::vector<candidate> candidates;
    std::vector<std::string> ids;
    for (const auto& [id, router] : console.desk.house.routers) {
        candidates.push_back({"", {id, router.settings.name}});
        ids.push_back(id);
    }
    const auto found = find(candidates, {}, "router", wanted.text, complaint, reading.beginnings);
    return found ? std::optional(ids[*found]) : std::nullopt;
}

std::optional<desk::ulid> find_salvo(const console_state& console, const common::word& wanted,
                                     std::string& complaint)
{
    std::vector<candidate> candidates;
    std::vector<desk::ulid> ids;
    for (const auto& [id, salvo] : console.desk.house.salvos) {
        candidates.push_back({"", {salvo.name}});
        ids.push_back(id);
    }
    const auto found = find(candidates, {}, "salvo", wanted.text, complaint);
    return found ? std::optional(ids[*found]) : std::nullopt;
}

answer refuse_lookup(const console_state& console, const std::string& complaint)
{
    const desk::live_router& live = *desk::find_live(console.desk, console.router);
    if (live.link == desk::link_state::ready || live.inputs > 0)
        return refusal(complaint, verdict::wrong_use);
    const desk::house_router& router = *desk::find_router(console.desk, console.router);
    return refusal("The sources and destinations of " + router.settings.name +
                       " are not known yet: its link is " + desk::text_of(live.link) +
                       (live.link_reason.empty() ? "" : ": " + live.link_reason) + ".",
                   verdict::not_ready);
}

} // namespace console
