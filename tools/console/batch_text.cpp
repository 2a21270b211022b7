#include "console/batch_text.h"

#include <algorithm>

#include "server/desk/words.h"

namespace console {

namespace {
std::string route_text(const console_state& console, const desk::route& route)
{
    return desk::destination_name(console.desk, route.router, route.destination) + " <- " +
           desk::source_name(console.desk, route.router, route.source);
}
} // namespace

bool has_ended(const desk::house& house, const desk::ulid& batch)
{
    const auto found = house.batches.find(batch);
    return found == house.batches.end() ||
           std::none_of(found->second.rows.begin(), found->second.rows.end(),
                        [](const desk::wish& row) { return row.end == desk::outcome::open; });
}

std::string outcome_text(const console_state& console, const desk::ulid& batch)
{
    std::string text;
    for (const desk::wish& row : console.desk.house.batches.at(batch).rows)
        text += route_text(console, row.wished) + ": " + desk::text_of(row.end) + " " + row.detail +
                "\n";
    return text;
}

nlohmann::json outcome_json(const console_state& /*console*/, const desk::ulid& batch)
{
    return {{"batch", desk::text_of(batch)}};
}

verdict verdict_of(const desk::batch& batch)
{
    verdict result = verdict::done;
    for (const desk::wish& row : batch.rows) {
        if (row.end == desk::outcome::confirmed) continue;
        if (row.why == desk::reason::link_not_ready || row.why == desk::reason::link_lost)
            return verdict::not_ready;
        result = verdict::refused;
    }
    return result;
}

} // namespace console
