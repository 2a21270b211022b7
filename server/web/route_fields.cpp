#include "server/web/route_fields.h"

#include <set>

#include "server/desk/checks.h"
#include "server/desk/words.h"
#include "server/web/position.h"

namespace web {

namespace {
// UNKNOWN_SOURCE, mostly with a complaint, when there is none.
int read_position_or_none(fields& fields, const std::string& name)
{
    const json* const value = find_member(fields, name);
    if (value != nullptr && value->is_null()) return desk::NO_SOURCE;
    const auto number = read_integer(fields, name, 0, desk::POSITIONS - 1);
    return static_cast<int>(number.value_or(desk::UNKNOWN_SOURCE));
}

// Empty, with a complaint, when there is none.
std::string read_router(fields& fields, const desk::desk_state& desk)
{
    require(fields, "router");
    const auto id = read_text(fields, "router", desk::ROUTER_ID_LENGTH, 1);
    if (!id) return {};
    if (desk::find_router(desk, *id) == nullptr)
        complain(fields, "router", "there is no router \"" + desk::cut_text(*id) + "\"",
                 "noSuchRouter");
    return *id;
}

void read_destination(fields& fields, const desk::desk_state& desk, desk::route& route)
{
    require(fields, "destination");
    const auto destination = read_integer(fields, "destination", 0, desk::POSITIONS - 1);
    route.destination = static_cast<int>(destination.value_or(0));
    const desk::house_router* const router = desk::find_router(desk, route.router);
    if (router == nullptr || route.destination < destinations_of(desk, route.router)) return;
    complain(fields, "destination",
             router->settings.name + " has no " +
                 destination_name(desk, route.router, route.destination),
             "noSuchDestination");
}
} // namespace

std::optional<int> find_routable(const server& server, const std::string& router, int destination,
                                 problem& wrong)
{
    if (destination < destinations_of(server.desk, router)) return destination;
    wrong = {"noSuchDestination",
             desk::find_router(server.desk, router)->settings.name + " cannot route " +
                 destination_name(server.desk, router, destination),
             0, router};
    return {};
}

std::optional<int> find_destination(const server& server, const call& call, problem& wrong)
{
    const auto found = find_position(server, call, desk::side::destinations, wrong);
    return found ? find_routable(server, call.values[0], *found, wrong) : found;
}

void read_source(fields& fields, const desk::desk_state& desk, desk::route& route)
{
    require(fields, "source");
    route.source = read_position_or_none(fields, "source");
    const desk::house_router* const router = desk::find_router(desk, route.router);
    if (router == nullptr || route.source < sources_of(desk, route.router)) return;
    complain(fields, "source",
             router->settings.name + " has no " + source_name(desk, route.router, route.source),
             "noSuchSource");
}

std::optional<int> read_if_source(fields& fields)
{
    if (find_member(fields, "ifSource") == nullptr) return {};
    return read_position_or_none(fields, "ifSource");
}

std::vector<desk::take_row> read_rows(fields& fields, const desk::desk_state& desk,
                                      const rows_wanted& wanted)
{
    std::vector<desk::take_row> rows;
    std::set<std::pair<std::string, int>> seen;
    const json* const array = read_array(fields, "rows", wanted.most);
    if (array == nullptr) return rows;
    if (array->size() < wanted.least) complain(fields, "rows", "rows must not be empty");
    for (std::size_t i = 0; i < array->size(); ++i) {
        web::fields row =
            fields_of((*array)[i], fields.at + "/rows/" + std::to_string(i), fields.wrong);
        const std::size_t complaints = fields.wrong.size();
        desk::take_row& read = rows.emplace_back();
        read.wished.router = wanted.router.empty() ? read_router(row, desk) : wanted.router;
        read_destination(row, desk, read.wished);
        read_source(row, desk, read.wished);
        if (wanted.if_source) read.if_source = read_if_source(row);
        finish(row);
        if (fields.wrong.size() == complaints &&
            !seen.emplace(read.wished.router, read.wished.destination).second)
            complain(row, "destination",
                     destination_name(desk, read.wished.router, read.wished.destination) +
                         " is there twice",
                     "duplicateDestination");
    }
    return rows;
}

} // namespace web
