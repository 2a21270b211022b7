#include "server/web/position.h"

#include <algorithm>

#include "server/desk/words.h"
#include "tools/common/numbers.h"

namespace web {

namespace {
using desk::side;

constexpr std::size_t NUMBERS_TOLD = 10; // of positions with one name

const std::vector<std::string>& names_of(const desk::live_router& router, side side)
{
    return side == side::sources ? router.source_names : router.destination_names;
}

std::vector<int> positions_called(const desk::desk_state& desk, const std::string& router,
                                  side side, const std::string& name)
{
    const desk::house_router& known = *desk::find_router(desk, router);
    std::vector<int> found;
    for (const auto& [position, label] :
         side == side::sources ? known.source_labels : known.destination_labels)
        if (label.alias == name && position < all_positions(desk, router, side))
            found.push_back(position);
    if (!found.empty()) return found;
    const std::vector<std::string>& names = names_of(*desk::find_live(desk, router), side);
    for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i] == name) found.push_back(static_cast<int>(i));
    return found;
}

// "2, 7 and 9", as people number them.
std::string numbers_text(const std::vector<int>& positions, int first)
{
    const std::size_t told = std::min(positions.size(), NUMBERS_TOLD);
    std::string text;
    for (std::size_t i = 0; i < told; ++i) {
        if (i > 0) text += i + 1 == positions.size() ? " and " : ", ";
        text += std::to_string(positions[i] + first);
    }
    if (told < positions.size()) text += " and others";
    return text;
}

problem no_such_position(const desk::house_router& router, side side, const std::string& what)
{
    return {side == side::sources ? "noSuchSource" : "noSuchDestination",
            router.settings.name + " has no " + what, 0, router.settings.id};
}

std::optional<int> find_called(const desk::desk_state& desk, const desk::house_router& router,
                               side side, const std::string& name, problem& wrong)
{
    const std::vector<int> found = positions_called(desk, router.settings.id, side, name);
    if (found.size() == 1) return found.front();
    if (found.empty())
        wrong = no_such_position(router, side,
                                 (side == side::sources ? "source" : "destination") +
                                     (" called " + desk::cut_text(name)));
    else
        wrong = {"nameNotUnique",
                 desk::cut_text(name) + " is the name of " +
                     numbers_text(found, router.settings.first_number) + ".",
                 0, router.settings.id};
    return {};
}
} // namespace

const desk::house_router* find_router(const server& server, const call& call, problem& wrong)
{
    const std::string& router = call.values.front();
    const desk::house_router* const found = desk::find_router(server.desk, router);
    if (found == nullptr)
        wrong = {"noSuchRouter", "there is no router \"" + desk::cut_text(router) + "\"", 0,
                 router};
    return found;
}

int routable_positions(const desk::desk_state& desk, const std::string& router, side side)
{
    const desk::live_router& live = *desk::find_live(desk, router);
    const desk::router_settings& settings = desk::find_router(desk, router)->settings;
    const int counted = side == side::sources ? live.inputs : live.outputs;
    if (counted > 0) return counted;
    return side == side::sources ? settings.inputs : settings.outputs;
}

int all_positions(const desk::desk_state& desk, const std::string& router, side side)
{
    const std::size_t named = names_of(*desk::find_live(desk, router), side).size();
    return std::max(static_cast<int>(named), routable_positions(desk, router, side));
}

std::optional<int> find_position(const server& server, const std::string& router, side side,
                                 const std::string& text, bool by_name, problem& wrong)
{
    const desk::desk_state& desk = server.desk;
    const desk::house_router& known = *desk::find_router(desk, router);
    if (by_name) return find_called(desk, known, side, text, wrong);
    int position = 0;
    if (!common::read_decimal(text, position) || position < 0) {
        wrong = no_such_position(known, side,
                                 (side == side::sources ? "source \"" : "destination \"") +
                                     desk::cut_text(text) + "\": a position is a number from 0");
        return {};
    }
    const int count = all_positions(desk, router, side);
    if (position < (count > 0 ? count : desk::ROUTED_POSITIONS)) return position;
    wrong =
        no_such_position(known, side,
                         side == side::sources ? desk::source_name(desk, router, position)
                                               : desk::destination_name(desk, router, position));
    return {};
}

std::optional<int> find_position(const server& server, const call& call, side side, problem& wrong)
{
    const desk::house_router* const router = find_router(server, call, wrong);
    if (router == nullptr) return {};
    const std::string* const by = find_parameter(call.request, "by");
    const bool by_name = by != nullptr && *by == "name";
    if (by != nullptr && !by_name && *by != "index") {
        wrong = {"badValue", "by must be index or name", 0, router->settings.id};
        wrong.errors = {{"by", wrong.code, wrong.detail}};
        return {};
    }
    return find_position(server, router->settings.id, side, call.values[1], by_name, wrong);
}

} // namespace web
