// Groups of sources, or of destinations, of a router: those whose labels name the same one.
#pragma once

#include <string>
#include <vector>

#include "server/desk/desk.h"

namespace desk {

struct group {
    std::string name;
    std::vector<int> members; // positions; never empty
    bool operator==(const group&) const = default;
};

// In the order of their first members.
std::vector<group> groups_of(const house_router& router, side side);

// Whether any router has destinations in it: rights that are limited to groups go by their names.
bool is_group_of_destinations(const house& house, const std::string& name);

// Members of the group are in this one from now on. name_taken when there is one of this name; of
// destinations on any router, for whoever may route the old group will be given the right to the
// new one (accounts::rename_group).
objection rename_group(desk_state& desk, const moment& now, const actor& actor,
                       const std::string& router, side side, const std::string& name,
                       const std::string& new_name);

// Its members are in none from now on.
objection dissolve_group(desk_state& desk, const moment& now, const actor& actor,
                         const std::string& router, side side, const std::string& name);

} // namespace desk
