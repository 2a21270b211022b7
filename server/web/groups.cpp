#include "server/desk/groups.h"

#include <algorithm>

#include "server/accounts/people.h"
#include "server/desk/words.h"
#include "server/web/fields.h"
#include "server/web/handlers.h"
#include "server/web/name_json.h"
#include "server/web/position.h"

namespace web {

namespace {
using desk::side;

// The side that the path names. None, with the problem: no such router, or no side is called so.
std::optional<side> find_side(const server& server, const call& call, problem& wrong)
{
    const desk::house_router* const router = find_router(server, call, wrong);
    if (router == nullptr) return {};
    for (const side side : {side::sources, side::destinations})
        if (call.values[1] == word_of(side)) return side;
    wrong = {"noSuchGroup",
             router->settings.name + " has no group " + desk::cut_text(call.values[2]), 0,
             router->settings.id};
    return {};
}

json group_called(const server& server, const std::string& router, side side,
                  const std::string& name)
{
    for (const desk::group& group : desk::groups_of(*desk::find_router(server.desk, router), side))
        if (group.name == name) return group_json(router, side, group);
    return {};
}
} // namespace

answer list_groups(server& server, const call& call)
{
    const std::string* const only = find_parameter(call.request, "router");
    json list = json::array();
    for (const auto& [router, known] : server.desk.house.routers) {
        if (only != nullptr && *only != router) continue;
        if (desk::right_on(call.actor.may, router) < desk::right::view) continue;
        for (const side side : {side::sources, side::destinations})
            for (const desk::group& group : desk::groups_of(known, side))
                list.push_back(group_json(router, side, group));
    }
    return json_response({{"groups", std::move(list)}});
}

answer rename_group(server& server, const call& call)
{
    problem not_there;
    const std::optional<side> side = find_side(server, call, not_there);
    if (!side) return not_there;
    const std::string& router = call.values.front();
    const std::string& name = call.values[2];
    std::vector<problem_at> wrong;
    fields fields = fields_of(call.body, "", wrong);
    require(fields, "name");
    const std::string new_name =
        desk::cut_text(read_text(fields, "name", desk::TEXT_LENGTH, 1).value_or(""));
    finish(fields);
    if (!wrong.empty()) return problem_of(wrong, router);
    const desk::objection found =
        desk::rename_group(server.desk, call.now, call.actor, router, *side, name, new_name);
    if (found.why != desk::reason::none) return problem_of(found, router);
    if (*side == desk::side::destinations)
        accounts::rename_group(server.accounts, call.now, call.actor, name, new_name,
                               desk::is_group_of_destinations(server.desk.house, name));
    return json_response(group_called(server, router, *side, new_name));
}

answer dissolve_group(server& server, const call& call)
{
    problem wrong;
    const std::optional<side> side = find_side(server, call, wrong);
    if (!side) return wrong;
    const std::string& router = call.values.front();
    const desk::objection found =
        desk::dissolve_group(server.desk, call.now, call.actor, router, *side, call.values[2]);
    if (found.why != desk::reason::none) return problem_of(found, router);
    return response{204, "", "", {}};
}

} // namespace web
