#include "server/desk/groups.h"

#include <algorithm>

#include "server/desk/checks.h"
#include "server/desk/setup.h"
#include "server/desk/words.h"

namespace desk {

namespace {
const std::map<int, label>& labels_of(const house_router& router, side side)
{
    return side == side::sources ? router.source_labels : router.destination_labels;
}

bool has_group(const house_router& router, side side, const std::string& name)
{
    const std::map<int, label>& labels = labels_of(router, side);
    return std::any_of(labels.begin(), labels.end(),
                       [&](const auto& each) { return each.second.group == name; });
}

objection check_group(const desk_state& desk, const actor& actor, const std::string& router,
                      side side, const std::string& name)
{
    objection found = check_engineer(desk, actor, router);
    if (found.why != reason::none) return found;
    const house_router& known = *find_router(desk, router);
    if (name.empty() || !has_group(known, side, name))
        return {reason::no_such_group, known.settings.name + " has no group " + cut_text(name)};
    return {};
}

// Rights that are limited to a group of destinations go by its name on every router.
bool is_engineer_of_all(const house& house, const actor& actor, const std::string& group)
{
    return std::all_of(house.routers.begin(), house.routers.end(), [&](const auto& router) {
        return !has_group(router.second, side::destinations, group) ||
               right_on(actor.may, router.first) >= right::engineer;
    });
}

// The caller has checked all that may speak against it.
void move_members(desk_state& desk, const moment& now, const actor& actor,
                  const std::string& router, side side, const std::string& from,
                  const std::string& into)
{
    std::vector<wanted_label> labels;
    for (const auto& [position, label] : labels_of(*find_router(desk, router), side))
        if (label.group == from) labels.push_back({position, std::nullopt, into});
    set_labels(desk, now, actor, router, side, labels);
}
} // namespace

std::vector<group> groups_of(const house_router& router, side side)
{
    std::vector<group> groups;
    for (const auto& [position, label] : labels_of(router, side)) {
        if (label.group.empty()) continue;
        auto found =
            std::find_if(groups.begin(), groups.end(),
                         [&name = label.group](const group& each) { return each.name == name; });
        if (found == groups.end()) found = groups.insert(groups.end(), {label.group, {}});
        found->members.push_back(position);
    }
    return groups;
}

bool is_group_of_destinations(const house& house, const std::string& name)
{
    return std::any_of(house.routers.begin(), house.routers.end(), [&](const auto& router) {
        return has_group(router.second, side::destinations, name);
    });
}

objection rename_group(desk_state& desk, const moment& now, const actor& actor,
                       const std::string& router, side side, const std::string& name,
                       const std::string& new_name)
{
    objection found = check_group(desk, actor, router, side, name);
    if (found.why != reason::none) return found;
    const std::string wanted = cut_text(new_name);
    if (wanted.empty()) return {reason::bad_value, "a group needs a name"};
    if (wanted == name) return {};
    if (side == side::destinations && !is_engineer_of_all(desk.house, actor, name))
        return {reason::no_right,
                actor.person + " is no engineer of every router that has a group " + name};
    const bool taken = side == side::sources ? has_group(*find_router(desk, router), side, wanted)
                                             : is_group_of_destinations(desk.house, wanted);
    if (taken) return {reason::name_taken, "there is already a group called " + wanted};
    move_members(desk, now, actor, router, side, name, wanted);
    return {};
}

objection dissolve_group(desk_state& desk, const moment& now, const actor& actor,
                         const std::string& router, side side, const std::string& name)
{
    objection found = check_group(desk, actor, router, side, name);
    if (found.why != reason::none) return found;
    move_members(desk, now, actor, router, side, name, "");
    return {};
}

} // namespace desk
