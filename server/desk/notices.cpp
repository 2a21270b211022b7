#include "server/desk/notices.h"

#include "server/desk/steps.h"

namespace desk {

std::vector<std::pair<ulid, notice>> notices_of(const house& house, const std::string& person,
                                                wall now)
{
    std::vector<std::pair<ulid, notice>> found;
    for (const auto& [id, notice] : house.notices)
        if (notice.person == person && notice.at >= now - NOTICE_AGE)
            found.emplace_back(id, notice);
    return found;
}

void dismiss_notice(desk_state& desk, const moment& now, const actor& actor, const ulid& id)
{
    const auto found = desk.house.notices.find(id);
    if (found == desk.house.notices.end() || found->second.person != actor.person) return;
    record_entry(desk, {now.utc, actor.person, actor.origin, notice_dismissed{id}});
    tell_notice(desk, actor.person, id);
}

} // namespace desk
