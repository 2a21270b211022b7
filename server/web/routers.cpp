#include <algorithm>

#include "server/desk/setup.h"
#include "server/desk/words.h"
#include "server/web/entity_tag.h"
#include "server/web/fields.h"
#include "server/web/handlers.h"
#include "server/web/position.h"
#include "server/web/router_json.h"

namespace web {

namespace {
constexpr const char* LOOPBACK = "127.0.0.1";
constexpr int LAST_PORT = 65535;
const char* const ADDRESS_OF_SIMULATED = "a simulated router has no address of its own";

// Of a new router's name: letters and digits, the others as hyphens; none that there is already.
std::string new_id(const desk::desk_state& desk, const std::string& name)
{
    std::string id;
    for (const char letter : name) {
        const bool capital = letter >= 'A' && letter <= 'Z';
        const std::string small(1, capital ? static_cast<char>(letter - 'A' + 'a') : letter);
        if (desk::is_router_id(small))
            id += small;
        else if (!id.empty() && !id.ends_with('-'))
            id += '-';
    }
    constexpr std::size_t LONGEST = 56; // leaves room for a number
    id.resize(std::min(id.size(), LONGEST));
    while (id.ends_with('-'))
        id.pop_back();
    if (id.empty()) id = "router";
    std::string unique = id;
    for (int number = 2; desk::find_router(desk, unique) != nullptr; ++number)
        unique = id + "-" + std::to_string(number);
    return unique;
}

// Members that are there replace the settings'.
void read_settings(fields& fields, desk::router_settings& settings)
{
    if (const auto name = read_text(fields, "name", desk::TEXT_LENGTH, 1)) settings.name = *name;
    if (const auto address = read_text(fields, "address")) {
        settings.address = *address;
        if (!desk::is_address(*address))
            complain(fields, "address",
                     "the address must be four numbers up to 255 with dots, or empty");
    }
    const auto number = [&](const char* name, std::int64_t least, std::int64_t most, int& value) {
        value = static_cast<int>(read_integer(fields, name, least, most).value_or(value));
    };
    number("port", 1, LAST_PORT, settings.port);
    number("sourceLimit", 0, desk::ROUTED_POSITIONS, settings.inputs);
    number("destinationLimit", 0, desk::ROUTED_POSITIONS, settings.outputs);
    number("firstNumber", 0, 1, settings.first_number);
    int limit = static_cast<int>(settings.confirmation_limit.count());
    number("confirmationLimitMs", desk::SHORTEST_CONFIRMATION_LIMIT.count(),
           desk::LONGEST_CONFIRMATION_LIMIT.count(), limit);
    settings.confirmation_limit = std::chrono::milliseconds(limit);
}

void refuse_address(fields& fields)
{
    for (const char* const name : {"address", "port"})
        if (find_member(fields, name) != nullptr) complain(fields, name, ADDRESS_OF_SIMULATED);
}

struct size {
    int sources = 0;
    int destinations = 0;
};

// None when the router is to be a real one.
std::optional<size> read_simulated(const server& server, fields& fields)
{
    const json* const wanted = find_member(fields, "simulated");
    if (wanted == nullptr) return {};
    if (!server.simulated.start)
        complain(fields, "simulated", "there are simulated routers in a demonstration only");
    refuse_address(fields);
    web::fields inner = fields_of(*wanted, fields.at + "/simulated", fields.wrong);
    const auto count = [&](const char* name) {
        require(inner, name);
        return static_cast<int>(read_integer(inner, name, 1, desk::POSITIONS).value_or(1));
    };
    const size found{count("sources"), count("destinations")};
    finish(inner);
    return found;
}

response response_of(const server& server, const std::string& router, int status)
{
    const json body = router_json(server, router);
    response response = json_response(body, status);
    add_entity_tag(response, body);
    return response;
}

problem already_there(const std::string& router)
{
    return {"nameTaken", "There is already a router " + router + ".", 0, router};
}
} // namespace

answer list_routers(server& server, const call& call)
{
    return json_response(routers_json(server, call.actor.may));
}

answer add_router(server& server, const call& call)
{
    std::vector<problem_at> wrong;
    fields fields = fields_of(call.body, "", wrong);
    require(fields, "name");
    desk::router_settings settings;
    const auto id = read_text(fields, "id");
    if (id && !desk::is_router_id(*id))
        complain(fields, "id", "a router's id has 1 to 64 letters, digits, '-' and '_'");
    read_settings(fields, settings);
    const std::optional<size> simulated = read_simulated(server, fields);
    finish(fields);
    if (!wrong.empty()) return problem_of(wrong);

    settings.id = id ? *id : new_id(server.desk, settings.name);
    if (desk::find_router(server.desk, settings.id) != nullptr) return already_there(settings.id);
    if (simulated) {
        std::string error;
        settings.address = LOOPBACK;
        settings.simulated = {simulated->sources, simulated->destinations};
        settings.port =
            server.simulated.start(settings.id, simulated->sources, simulated->destinations, error);
        if (settings.port == 0) return problem{"overloaded", error};
    }
    const desk::objection found = desk::set_router(server.desk, call.now, call.actor, settings);
    if (found.why != desk::reason::none && simulated) server.simulated.stop(settings.id);
    if (found.why == desk::reason::too_many_at_once)
        return problem{"tooManyAtOnce", found.detail, 409};
    if (found.why != desk::reason::none) return problem_of(found);
    answer added = response_of(server, settings.id, 201);
    added.response.headers.emplace_back("Location", "/api/v1/routers/" + settings.id);
    return added;
}

answer get_router(server& server, const call& call)
{
    problem wrong;
    const desk::house_router* const router = find_router(server, call, wrong);
    if (router == nullptr) return wrong;
    return json_response(router_json(server, router->settings.id));
}

answer set_router(server& server, const call& call)
{
    problem not_there;
    const desk::house_router* const router = find_router(server, call, not_there);
    if (router == nullptr) return not_there;
    desk::router_settings settings = router->settings;
    std::vector<problem_at> wrong;
    fields fields = fields_of(call.body, "", wrong);
    if (fields.object.empty() && wrong.empty())
        wrong.push_back({"", "badValue", "there is nothing to change"});
    if (is_simulated(server, settings.id)) refuse_address(fields);
    read_settings(fields, settings);
    finish(fields);
    if (!wrong.empty()) return problem_of(wrong, settings.id);
    const desk::objection found = desk::set_router(server.desk, call.now, call.actor, settings);
    if (found.why != desk::reason::none) return problem_of(found, settings.id);
    return response_of(server, settings.id, 200);
}

answer remove_router(server& server, const call& call)
{
    problem wrong;
    if (find_router(server, call, wrong) == nullptr) return wrong;
    const std::string& router = call.values.front();
    const desk::objection found = desk::remove_router(server.desk, call.now, call.actor, router);
    if (found.why != desk::reason::none) return problem_of(found, router);
    if (is_simulated(server, router)) server.simulated.stop(router);
    return response{204, "", "", {}};
}

answer read_again(server& server, const call& call)
{
    const std::string& router = call.values.front();
    const desk::objection found = desk::read_again(server.desk, call.now, call.actor, router);
    if (found.why != desk::reason::none) return problem_of(found, router);
    return response{202, "", "", {}};
}

} // namespace web
