#include "server/routers/records.h"

#include <string_view>

#include "server/desk/words.h"
#include "tools/common/numbers.h"

namespace routers {

namespace {
constexpr std::string_view NAME_END = ".name";
constexpr std::string_view ROUTE_END = ".input.all";

// The position in a key such as "o12.name". False for any other key, or one beyond `limit`.
bool read_position(std::string_view key, char letter, std::string_view end, int limit,
                   int& position)
{
    if (key.size() <= end.size() || key[0] != letter || !key.ends_with(end)) return false;
    key.remove_prefix(1);
    key.remove_suffix(end.size());
    return common::read_decimal(key, position) && position >= 0 && position < limit;
}

std::string text_field(const ParentRecord& record, const char* name)
{
    const auto found = record.fields.find(name);
    return found == record.fields.end() ? "" : desk::cut_text(found->second);
}

report read_info(const ParentRecord& record)
{
    info_report info;
    const auto inputs = record.fields.find("inputs");
    const auto outputs = record.fields.find("outputs");
    if (inputs == record.fields.end() || outputs == record.fields.end() ||
        !common::read_decimal(inputs->second, info.inputs) ||
        !common::read_decimal(outputs->second, info.outputs))
        return {};
    info.identity = {text_field(record, "model"), text_field(record, "firmware version"),
                     text_field(record, "product"), text_field(record, "company")};
    return info;
}

names_report read_names(const ParentRecord& record, desk::side side)
{
    names_report report{.side = side, .names = {}};
    const char letter = side == desk::side::sources ? 'i' : 'o';
    for (const auto& [key, value] : record.fields) {
        int position = 0;
        if (!read_position(key, letter, NAME_END, desk::POSITIONS, position)) continue;
        const auto index = static_cast<std::size_t>(position);
        if (report.names.size() <= index) report.names.resize(index + 1);
        report.names[index] = value;
    }
    return report;
}

routes_report read_routes(const ParentRecord& record)
{
    routes_report report;
    for (const auto& [key, value] : record.fields) {
        int destination = 0;
        if (!read_position(key, 'o', ROUTE_END, desk::ROUTED_POSITIONS, destination)) continue;
        int source = desk::NO_SOURCE;
        if (value == "none" || (common::read_decimal(value, source) && source >= 0))
            report.routes.emplace_back(destination, source);
    }
    return report;
}
} // namespace

report read_record(const ParentRecord& record)
{
    if (record.type != "message") return {};
    if (record.command == "info") return read_info(record);
    if (record.command == "inputs") return read_names(record, desk::side::sources);
    if (record.command != "outputs") return {};
    names_report names = read_names(record, desk::side::destinations);
    if (!names.names.empty()) return names;
    return read_routes(record);
}

} // namespace routers
