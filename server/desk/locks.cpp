#include "server/desk/locks.h"

#include "server/desk/checks.h"
#include "server/desk/steps.h"
#include "server/desk/wishes.h"
#include "server/desk/words.h"

namespace desk {

namespace {
const lock* find_lock(const desk_state& desk, const std::string& router, int destination)
{
    const house_router& known = *find_router(desk, router);
    const auto found = known.locks.find(destination);
    return found != known.locks.end() ? &found->second : nullptr;
}

reason reason_of(lock_mode mode)
{
    return mode == lock_mode::lock ? reason::locked : reason::protected_by_other;
}

// A held wish, the newest, has not been ordered yet, and must not be any more.
void end_excluded_wish(desk_state& desk, const moment& now, const std::string& router,
                       int destination)
{
    const live_router& live = *find_live(desk, router);
    const auto open = live.open.find(destination);
    if (open == live.open.end()) return;
    const open_wish& newest = open->second.back();
    if (newest.state != wish_state::held) return;
    const std::string& person = desk.house.batches.at(newest.id.batch).person;
    const reason why = lock_against(*find_router(desk, router), destination, person);
    if (why == reason::none) return;
    const wish_id id = newest.id;
    end_wish(desk, now, id, outcome::not_sent, lock_text(desk, router, destination), why);
}
} // namespace

objection set_lock(desk_state& desk, const moment& now, const actor& actor,
                   const std::string& router, int destination, lock_mode mode,
                   const std::string& reason_given, std::optional<wall> until)
{
    objection found = check_destination(desk, actor, router, destination);
    if (found.why != reason::none) return found;
    if (until && *until <= now.utc)
        return {reason::bad_value, "a lock cannot end before it begins"};
    const lock* const old = find_lock(desk, router, destination);
    if (old != nullptr && old->owner != actor.person)
        return {reason_of(old->mode), lock_text(desk, router, destination)};
    record_entry(desk, {now.utc, actor.person, actor.origin,
                        lock_set{router,
                                 destination,
                                 {mode, actor.person, cut_text(reason_given), now.utc, until}}});
    tell_change(desk, router, change::kind::lock, destination);
    end_excluded_wish(desk, now, router, destination);
    return {};
}

objection remove_lock(desk_state& desk, const moment& now, const actor& actor,
                      const std::string& router, int destination, bool force,
                      const std::string& reason_given)
{
    if (find_router(desk, router) == nullptr) return no_such_router(router);
    const lock* const old = find_lock(desk, router, destination);
    if (old == nullptr)
        return {reason::nothing_to_do,
                destination_text(desk, router, destination) + " is neither locked nor protected"};
    const bool own = old->owner == actor.person;
    const std::string given = cut_text(reason_given);
    if (!own) {
        if (!force) return {reason_of(old->mode), lock_text(desk, router, destination)};
        objection found = check_engineer(desk, actor, router);
        if (found.why != reason::none) return found;
        if (given.find_first_not_of(' ') == std::string::npos)
            return {reason::bad_value, "breaking a lock needs a reason"};
    }
    lock_removed removed{router, destination, lock_end::released, old->owner, "", {}};
    if (!own) {
        removed.how = lock_end::broken;
        removed.reason = given;
        removed.notice = make_id(desk.ids, now.utc);
    }
    record_entry(desk, {now.utc, actor.person, actor.origin, removed});
    tell_change(desk, router, change::kind::lock, destination);
    if (!own) tell_notice(desk, removed.owner, removed.notice);
    return {};
}

reason lock_against(const house_router& router, int destination, const std::string& person)
{
    const auto lock = router.locks.find(destination);
    if (lock == router.locks.end()) return reason::none;
    const bool excluded = lock->second.mode == lock_mode::lock || lock->second.owner != person;
    return excluded ? reason_of(lock->second.mode) : reason::none;
}

} // namespace desk
