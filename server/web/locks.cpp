#include "server/desk/locks.h"

#include "server/desk/words.h"
#include "server/web/fields.h"
#include "server/web/handlers.h"
#include "server/web/lock_json.h"
#include "server/web/parameters.h"
#include "server/web/position.h"
#include "tools/common/characters.h"

namespace web {

namespace {
// `place` is where a value stands that the desk does not take.
problem lock_problem(const server& server, const desk::objection& found, const std::string& router,
                     int destination, const std::string& place)
{
    problem wrong = problem_of(found, router);
    wrong.destination = destination;
    if (found.why == desk::reason::nothing_to_do) wrong.code = "noSuchLock";
    if (found.why == desk::reason::bad_value) wrong.errors = {{place, wrong.code, wrong.detail}};
    add_lock_owner(server, wrong);
    return wrong;
}

struct lock_wanted {
    desk::lock_mode mode = desk::lock_mode::lock;
    std::string reason;
    std::optional<desk::wall> until;
};

lock_wanted read_lock(const json& body, std::vector<problem_at>& wrong)
{
    fields fields = fields_of(body, "", wrong);
    lock_wanted wanted;
    require(fields, "mode");
    if (read_word(fields, "mode", {"lock", "protect"}) == 1U)
        wanted.mode = desk::lock_mode::protect;
    wanted.reason = read_text(fields, "reason").value_or("");
    wanted.until = read_time(fields, "until");
    finish(fields);
    return wanted;
}
} // namespace

answer set_lock(server& server, const call& call)
{
    problem not_there;
    const auto destination = find_position(server, call, desk::side::destinations, not_there);
    if (!destination) return not_there;
    const std::string& router = call.values.front();
    std::vector<problem_at> wrong;
    const lock_wanted wanted = read_lock(call.body, wrong);
    if (!wrong.empty()) return problem_of(wrong, router);
    const desk::objection found =
        desk::set_lock(server.desk, call.now, call.actor, router, *destination, wanted.mode,
                       wanted.reason, wanted.until);
    if (found.why != desk::reason::none)
        return lock_problem(server, found, router, *destination, "/until");
    return json_response(
        lock_json(server, router, *destination, *find_lock(server, router, *destination)));
}

answer get_lock(server& server, const call& call)
{
    problem wrong;
    const auto destination = find_position(server, call, desk::side::destinations, wrong);
    if (!destination) return wrong;
    const std::string& router = call.values.front();
    if (const desk::lock* const lock = find_lock(server, router, *destination))
        return json_response(lock_json(server, router, *destination, *lock));
    wrong = {"noSuchLock",
             desk::destination_name(server.desk, router, *destination) +
                 " is neither locked nor protected",
             0, router};
    wrong.destination = *destination;
    return wrong;
}

answer remove_lock(server& server, const call& call)
{
    problem not_there;
    const auto destination = find_position(server, call, desk::side::destinations, not_there);
    if (!destination) return not_there;
    const std::string& router = call.values.front();
    std::vector<problem_at> wrong;
    const bool force = read_flag(call.request, "force", wrong).value_or(false);
    constexpr std::size_t SHORTEST_REASON = 3;
    const std::string reason =
        read_text(call.request, "reason", wrong, desk::TEXT_LENGTH, SHORTEST_REASON).value_or("");
    if (const std::string complaint = common::complaint_about(reason); !complaint.empty())
        wrong.push_back({"reason", "badValue", "reason " + complaint});
    if (!wrong.empty()) return problem_of(wrong, router);
    const desk::lock* const lock = find_lock(server, router, *destination);
    const json was = lock == nullptr ? json() : lock_json(server, router, *destination, *lock);
    const desk::objection found =
        desk::remove_lock(server.desk, call.now, call.actor, router, *destination, force, reason);
    if (found.why != desk::reason::none)
        return lock_problem(server, found, router, *destination, "reason");
    return json_response(was);
}

answer list_locks(server& server, const call& call)
{
    problem wrong;
    if (find_router(server, call, wrong) == nullptr) return wrong;
    return json_response(locks_json(server, call.values.front()));
}

} // namespace web
