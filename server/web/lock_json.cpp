#include "server/web/lock_json.h"

#include "server/desk/words.h"
#include "server/web/call.h"

namespace web {

const desk::lock* find_lock(const server& server, const std::string& router, int destination)
{
    const desk::house_router* const known = desk::find_router(server.desk, router);
    if (known == nullptr) return nullptr;
    const auto found = known->locks.find(destination);
    return found == known->locks.end() ? nullptr : &found->second;
}

json lock_json(const server& server, const std::string& router, int destination,
               const desk::lock& lock)
{
    json value = {{"router", router},
                  {"destination", destination},
                  {"destinationName", desk::destination_name(server.desk, router, destination)},
                  {"mode", lock.mode == desk::lock_mode::lock ? "lock" : "protect"},
                  {"owner", person_json(server, lock.owner)},
                  {"reason", lock.reason},
                  {"since", time_text(lock.since)}};
    if (lock.until) value["until"] = time_text(*lock.until);
    return value;
}

json locks_json(const server& server, const std::string& router)
{
    json list = json::array();
    for (const auto& [destination, lock] : desk::find_router(server.desk, router)->locks)
        list.push_back(lock_json(server, router, destination, lock));
    return {{"router", router},
            {"revision", desk::find_live(server.desk, router)->revision},
            {"locks", std::move(list)}};
}

void add_lock_owner(const server& server, problem& problem)
{
    if (problem.code != "destinationLocked" && problem.code != "destinationProtected") return;
    const desk::lock* const lock =
        find_lock(server, problem.router, problem.destination.value_or(-1));
    if (lock == nullptr) return;
    const accounts::person* const owner = accounts::find_person(server.accounts, lock->owner);
    problem.locked_by = lock->owner;
    problem.locked_by_name = owner == nullptr ? lock->owner : owner->name;
}

} // namespace web
