#include <algorithm>
#include <vector>

#include "server/web/fields.h"
#include "server/web/handlers.h"
#include "server/web/position.h"

namespace web {

namespace {
const std::vector<std::string> FAULTS = {"slowAnswers", "lostAnswers", "anotherSource",
                                         "droppedLink", "anotherOperator"};

response faults_response(const server& server, const std::string& router)
{
    return json_response({{"router", router}, {"faults", server.simulated.faults(router)}});
}

// False, with the problem: there is no such router, or it is a real one.
bool find_simulated(const server& server, const call& call, problem& wrong)
{
    const desk::house_router* const router = find_router(server, call, wrong);
    if (router == nullptr) return false;
    if (is_simulated(server, router->settings.id)) return true;
    wrong = {"notSimulated", router->settings.name + " is a real router", 0, router->settings.id};
    return false;
}

std::set<std::string> read_faults(const json& body, std::vector<problem_at>& wrong)
{
    std::set<std::string> wanted;
    fields fields = fields_of(body, "", wrong);
    const json* const list = read_array(fields, "faults", FAULTS.size());
    for (std::size_t i = 0; list != nullptr && i < list->size(); ++i) {
        const std::string at = "/faults/" + std::to_string(i);
        const auto found = std::find(FAULTS.begin(), FAULTS.end(), (*list)[i]);
        if (found == FAULTS.end())
            wrong.push_back({at, "badValue", "there is no such fault"});
        else if (!wanted.insert(*found).second)
            wrong.push_back({at, "badValue", *found + " is there twice"});
    }
    finish(fields);
    return wanted;
}
} // namespace

bool is_simulated(const server& server, const std::string& router)
{
    return server.simulated.has && server.simulated.has(router);
}

answer get_faults(server& server, const call& call)
{
    problem wrong;
    if (!find_simulated(server, call, wrong)) return wrong;
    return faults_response(server, call.values.front());
}

answer set_faults(server& server, const call& call)
{
    problem not_simulated;
    if (!find_simulated(server, call, not_simulated)) return not_simulated;
    const std::string& router = call.values.front();
    std::vector<problem_at> wrong;
    const std::set<std::string> wanted = read_faults(call.body, wrong);
    if (!wrong.empty()) return problem_of(wrong, router);
    server.simulated.set_faults(router, wanted);
    return faults_response(server, router);
}

} // namespace web
