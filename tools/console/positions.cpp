#include "console/positions.h"

#include <algorithm>

namespace console {

namespace {
const std::vector<std::string>& names_of(const desk::live_router& live, desk::side side)
{
    return side == desk::side::sources ? live.source_names : live.destination_names;
}
} // namespace

position position_at(const console_state& console, const std::string& router, desk::side side,
                     int index)
{
    const desk::house_router& known = *desk::find_router(console.desk, router);
    const std::vector<std::string>& names = names_of(*desk::find_live(console.desk, router), side);
    const desk::label& label = desk::label_of(known, side, index);
    const auto place = static_cast<std::size_t>(index);
    return {index, std::to_string(index + known.settings.first_number), label.alias,
            place < names.size() ? names[place] : "", label.group};
}

int routed_positions(const console_state& console, const std::string& router, desk::side side)
{
    const desk::router_settings& settings = desk::find_router(console.desk, router)->settings;
    const desk::live_router& live = *desk::find_live(console.desk, router);
    const bool sources = side == desk::side::sources;
    const int counted = sources ? live.inputs : live.outputs;
    return counted > 0 ? counted : sources ? settings.inputs : settings.outputs;
}

int all_positions(const console_state& console, const std::string& router, desk::side side)
{
    const auto& names = names_of(*desk::find_live(console.desk, router), side);
    return std::max(routed_positions(console, router, side), static_cast<int>(names.size()));
}

const char* kind_of(desk::side side)
{
    return side == desk::side::sources ? "source" : "destination";
}

} // namespace console
