// Who asks, from where, and what they may do.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>

namespace desk {

// Each includes those before it.
enum class right { none, view, operate, engineer, administer };

struct rights {
    right usual = right::none;
    std::map<std::string, right, std::less<>> exceptions; // by router
    // When set, `operate` counts only for destinations of these groups. Engineers are not limited.
    std::optional<std::set<std::string, std::less<>>> groups;
    bool operator==(const rights&) const = default;
};

struct actor {
    std::string person; // who holds locks, a stage and undo steps; never empty
    std::string origin; // "console", "panel", "api", a gateway and its client's address
    rights may;
};

right right_on(const rights& rights, const std::string& router);

// `group` is the destination's, empty when it has none.
bool may_operate(const rights& rights, const std::string& router, const std::string& group);

const char* text_of(right right);

} // namespace desk
