#include "server/web/name_json.h"

#include <numeric>

#include "server/desk/words.h"
#include "server/web/position.h"

namespace web {

const char* word_of(desk::side side)
{
    return side == desk::side::sources ? "sources" : "destinations";
}

json name_json(const desk::desk_state& desk, const std::string& router, desk::side side,
               int position)
{
    const desk::house_router& known = *desk::find_router(desk, router);
    const desk::live_router& live = *desk::find_live(desk, router);
    const bool of_sources = side == desk::side::sources;
    const std::vector<std::string>& names = of_sources ? live.source_names : live.destination_names;
    const desk::label& label = desk::label_of(known, side, position);
    json value = {{"index", position},
                  {"number", position + known.settings.first_number},
                  {"name", of_sources ? desk::source_name(desk, router, position)
                                      : desk::destination_name(desk, router, position)}};
    const auto place = static_cast<std::size_t>(position);
    if (place < names.size()) value["routerName"] = names[place];
    value["alias"] = label.alias;
    value["group"] = label.group;
    value["routable"] = position < routable_positions(desk, router, side);
    return value;
}

json names_json(const desk::desk_state& desk, const std::string& router, desk::side side)
{
    std::vector<int> all(static_cast<std::size_t>(all_positions(desk, router, side)));
    std::iota(all.begin(), all.end(), 0);
    return names_json(desk, router, side, all);
}

json names_json(const desk::desk_state& desk, const std::string& router, desk::side side,
                const std::vector<int>& positions)
{
    json list = json::array();
    for (const int position : positions)
        list.push_back(name_json(desk, router, side, position));
    return {{"router", router},
            {"revision", desk::find_live(desk, router)->revision},
            {word_of(side), std::move(list)}};
}

json group_json(const std::string& router, desk::side side, const desk::group& group)
{
    return {{"router", router},
            {"side", word_of(side)},
            {"name", group.name},
            {"members", group.members}};
}

} // namespace web
