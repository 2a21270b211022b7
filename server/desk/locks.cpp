#include "server/desk/locks.h"

namespace desk {

reason lock_against(const house_router& router, int destination, const std::string& person)
{
    const auto lock = router.locks.find(destination);
    if (lock == router.locks.end()) return reason::none;
    if (lock->second.mode == lock_mode::lock) return reason::locked;
    return lock->second.owner == person ? reason::none : reason::protected_by_other;
}

} // namespace desk
