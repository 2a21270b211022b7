#include "console/commands.h"
#include "console/filter.h"
#include "console/link_text.h"
#include "console/lookup.h"
#include "console/route_names.h"
#include "console/route_rows.h"
#include "console/tables.h"
#include "server/desk/words.h"

namespace console {

namespace {
const std::string& name_of(const console_state& console)
{
    return desk::find_router(console.desk, console.router)->settings.name;
}

// What stands above a table of sources or destinations of the router in use.
std::string head_text(const console_state& console, const desk::moment& now, desk::side side,
                      std::size_t count)
{
    const int first = desk::find_router(console.desk, console.router)->settings.first_number;
    const int routed = routed_positions(console, console.router, side);
    const int all = all_positions(console, console.router, side);
    std::string text = link_line(console, now, console.router);
    if (routed > 0 && all > routed)
        text += std::to_string(routed) + " of " + std::to_string(all) + " " + kind_of(side) +
                "s can be routed.\n";
    if (count > 0) text += "Numbers begin at " + std::to_string(first) + ".\n";
    return text;
}

// In place of a table without rows.
std::string nothing_text(const console_state& console, desk::side side)
{
    const std::string kinds = kind_of(side) + std::string("s");
    if (all_positions(console, console.router, side) == 0) return "No " + kinds + " are known.\n";
    return std::string("No ") + kind_of(side) + " of " + name_of(console) + " fits.\n";
}

nlohmann::json list_json(const console_state& console, nlohmann::json rows)
{
    return {{"router", console.router},
            {"link", link_json(console, console.router)},
            {"firstNumber", desk::find_router(console.desk, console.router)->settings.first_number},
            {"rows", std::move(rows)}};
}

std::string source_number(const console_state& console, const std::string& router, int source)
{
    if (source < 0) return "";
    return position_at(console, router, desk::side::sources, source).number;
}

std::string routes_table(const console_state& console, const std::vector<route_row>& rows)
{
    const auto told_above = known_until(console, console.router);
    common::text_table table{
        "", {{"#", true}, {"Destination"}, {"#", true}, {"Source"}, {"State"}}, {}};
    for (const route_row& row : rows)
        table.rows.push_back(
            {row.destination.number,
             desk::destination_name(console.desk, row.router, row.destination.index),
             source_number(console, row.router, row.source),
             desk::source_name(console.desk, row.router, row.source),
             state_text(console, row, told_above)});
    return fitted_table(std::move(table), console.columns);
}

std::vector<route_row> route_rows(const console_state& console, const std::vector<int>& found)
{
    std::vector<route_row> rows;
    rows.reserve(found.size());
    for (const int destination : found)
        rows.push_back(route_row_of(console, console.router, destination));
    return rows;
}

answer run_routes(console_state& console, const desk::moment& now, const call& call)
{
    constexpr desk::side SIDE = desk::side::destinations;
    std::string complaint;
    const auto found =
        find_positions(console, console.router, SIDE,
                       routed_positions(console, console.router, SIDE), call.words, complaint);
    if (!found) return refusal(complaint, verdict::wrong_use);
    const std::vector<route_row> rows = route_rows(console, *found);
    nlohmann::json json = nlohmann::json::array();
    for (const route_row& row : rows)
        json.push_back(shown_json(console, row));
    return {.text = head_text(console, now, SIDE, rows.size()) +
                    (rows.empty() ? nothing_text(console, SIDE) : routes_table(console, rows)),
            .json = list_json(console, std::move(json))};
}

struct listed_position {
    position known;
    std::string name;
    bool routed = true; // can be
    const desk::lock* lock = nullptr;
};

nlohmann::json position_json(const listed_position& row)
{
    nlohmann::json json = {{"index", row.known.index},    {"name", row.name},
                           {"routerName", row.known.own}, {"alias", row.known.alias},
                           {"group", row.known.group},    {"routable", row.routed}};
    if (row.lock != nullptr) json["lock"] = lock_json(*row.lock);
    return json;
}

std::string names_table(const console_state& console, desk::side side,
                        const std::vector<listed_position>& rows)
{
    common::text_table table{"",
                             {{"#", true},
                              {side == desk::side::sources ? "Source" : "Destination"},
                              {"Router's name"},
                              {"Group"},
                              {"State"}},
                             {}};
    for (const listed_position& row : rows)
        table.rows.push_back({row.known.number, row.name,
                              row.known.alias.empty() ? "" : row.known.own, row.known.group,
                              !row.routed           ? "cannot be routed"
                              : row.lock != nullptr ? lock_state(*row.lock)
                                                    : ""});
    return fitted_table(std::move(table), console.columns);
}

answer list_names(console_state& console, const desk::moment& now, const call& call,
                  desk::side side)
{
    std::string complaint;
    const int routed = routed_positions(console, console.router, side);
    const auto found =
        find_positions(console, console.router, side, all_positions(console, console.router, side),
                       call.words, complaint);
    if (!found) return refusal(complaint, verdict::wrong_use);
    const desk::house_router& known = *desk::find_router(console.desk, console.router);
    std::vector<listed_position> rows;
    nlohmann::json json = nlohmann::json::array();
    for (const int index : *found) {
        const bool is_source = side == desk::side::sources;
        const auto lock = is_source ? known.locks.end() : known.locks.find(index);
        rows.push_back({position_at(console, console.router, side, index),
                        is_source ? desk::source_name(console.desk, console.router, index)
                                  : desk::destination_name(console.desk, console.router, index),
                        routed == 0 || index < routed,
                        lock == known.locks.end() ? nullptr : &lock->second});
        json.push_back(position_json(rows.back()));
    }
    return {.text = head_text(console, now, side, rows.size()) +
                    (rows.empty() ? nothing_text(console, side) : names_table(console, side, rows)),
            .json = list_json(console, std::move(json))};
}

answer run_sources(console_state& console, const desk::moment& now, const call& call)
{
    return list_names(console, now, call, desk::side::sources);
}

answer run_destinations(console_state& console, const desk::moment& now, const call& call)
{
    return list_names(console, now, call, desk::side::destinations);
}

std::string count_text(std::size_t count, const std::string& thing)
{
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

answer run_where(console_state& console, const desk::moment& now, const call& call)
{
    std::string complaint;
    const auto source = find_source(console, call.words[0], complaint);
    if (!source) return refuse_lookup(console, complaint);
    std::vector<route_row> rows;
    std::size_t unknown = 0;
    nlohmann::json json = nlohmann::json::array();
    const int count = routed_positions(console, console.router, desk::side::destinations);
    for (int destination = 0; destination < count; ++destination) {
        route_row row = route_row_of(console, console.router, destination);
        if (row.source == desk::UNKNOWN_SOURCE) ++unknown;
        if (row.source != *source) continue;
        json.push_back(shown_json(console, row));
        rows.push_back(std::move(row));
    }
    const std::string name = desk::source_text(console.desk, console.router, *source);
    std::string text = head_text(console, now, desk::side::destinations, rows.size());
    text += count == 0     ? nothing_text(console, desk::side::destinations)
            : rows.empty() ? "No destination of " + name_of(console) + " shows " + name + ".\n"
                           : name + " is shown by " + count_text(rows.size(), "destination") +
                                 ".\n" + routes_table(console, rows);
    if (unknown > 0)
        text += "What " + count_text(unknown, "destination") + (unknown == 1 ? " shows" : " show") +
                " is not known.\n";
    answer answer{.text = text, .json = list_json(console, std::move(json))};
    answer.json["source"] = source_json(console.desk, console.router, *source);
    answer.json["unknown"] = unknown;
    return answer;
}
} // namespace

const std::vector<command>& show_commands()
{
    static const std::string_view FILTERS =
        "Each word leaves fewer: a number or a range of numbers (12-40), @GROUP, or a\n"
        "part of a name, alias or group. Case makes no difference. Text that looks like a\n"
        "number stands in quotes.\n";
    static const std::string ROUTES =
        "Shows what each destination shows, as the router said, the take under way, the\n"
        "row that is staged, the lock, and what went wrong last. \"routes problems\" leaves\n"
        "those with trouble. While the link is not ready, the routes are as they were\n"
        "when it was lost.\n" +
        std::string(FILTERS);
    static const std::string NAMES =
        "Shows numbers and names, aliases first, and groups.\n" + std::string(FILTERS);
    static const std::vector<command> COMMANDS = {
        {"routes",
         {argument::filter},
         0,
         false,
         false,
         "[FILTER...]",
         "what each destination shows",
         ROUTES,
         run_routes},
        {"sources",
         {argument::filter},
         0,
         false,
         false,
         "[FILTER...]",
         "list the sources",
         NAMES,
         run_sources},
        {"destinations",
         {argument::filter},
         0,
         false,
         false,
         "[FILTER...]",
         "list the destinations",
         NAMES,
         run_destinations},
        {"where",
         {argument::source},
         1,
         false,
         false,
         "SOURCE",
         "which destinations show a source",
         "Lists the destinations that show the source, as far as the router has said.\n",
         run_where},
    };
    return COMMANDS;
}

} // namespace console
