#include "server/desk/people.h"

#include "server/desk/steps.h"

namespace desk {

namespace {
void forget_stages(desk_state& desk, const std::string& person)
{
    const auto stages = desk.stages.extract(person);
    if (!stages) return;
    for (const auto& [router, rows] : stages.mapped())
        tell_stage_change(desk, person, router);
}

void forget_notices(desk_state& desk, const moment& now, const actor& actor,
                    const std::string& person)
{
    std::vector<ulid> theirs;
    for (const auto& [id, notice] : desk.house.notices)
        if (notice.person == person) theirs.push_back(id);
    for (const ulid& id : theirs) {
        record_entry(desk, {now.utc, actor.person, actor.origin, notice_dismissed{id}});
        tell_notice(desk, person, id);
    }
}

void leave_locks(desk_state& desk, const moment& now, const actor& actor, const std::string& person)
{
    std::vector<lock_set> theirs;
    for (const auto& [id, router] : desk.house.routers)
        for (const auto& [destination, lock] : router.locks)
            if (lock.owner == person) theirs.push_back({id, destination, lock});
    for (lock_set& left : theirs) {
        left.lock.owner += " (removed)";
        record_entry(desk, {now.utc, actor.person, actor.origin, left});
        tell_change(desk, left.router, change::kind::lock, left.destination);
    }
}

// The identifier's first 48 bits.
wall time_of(const ulid& id)
{
    return wall(static_cast<wall::rep>(id.high >> 16U));
}
} // namespace

void forget_person(desk_state& desk, const moment& now, const actor& actor,
                   const std::string& person)
{
    forget_stages(desk, person);
    forget_notices(desk, now, actor, person);
    leave_locks(desk, now, actor, person);
    desk.house.undo.erase(person); // whoever makes the house again calls forget_steps_before
}

void forget_steps_before(house& house, const std::string& person, wall created)
{
    const auto found = house.undo.find(person);
    if (found == house.undo.end()) return;
    for (std::deque<undo_step>* const steps : {&found->second.undo, &found->second.redo})
        std::erase_if(*steps, [&](const undo_step& step) { return time_of(step.batch) < created; });
    if (found->second.undo.empty() && found->second.redo.empty()) house.undo.erase(found);
}

} // namespace desk
