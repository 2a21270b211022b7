#include <algorithm>
#include <array>
#include <iterator>

#include "console/commands.h"
#include "console/filter.h"
#include "console/link_text.h"
#include "console/lookup.h"
#include "console/positions.h"
#include "console/route_file.h"
#include "console/route_names.h"
#include "console/times.h"
#include "server/desk/setup.h"
#include "server/desk/words.h"
#include "tools/common/numbers.h"

namespace console {

namespace {
answer run_use(console_state& console, const desk::moment& /*now*/, const call& call)
{
    std::string complaint;
    const auto router = find_router(console, call.words[0], complaint);
    if (!router) return refusal(complaint, verdict::wrong_use);
    console.router = *router;
    return {.json = {{"router", *router}}};
}

struct setting {
    std::string_view name;
    std::string (*show)(const desk::router_settings& settings);
    // False when the text is no such value.
    bool (*read)(desk::router_settings& settings, const std::string& text);
    std::string_view values; // in words
};

std::string count_text(int count)
{
    return count == 0 ? "as many as the router has" : std::to_string(count);
}

bool read_limit(desk::router_settings& settings, const std::string& text)
{
    const std::string number = text.substr(0, text.find_last_not_of("ms ") + 1);
    const std::string unit = text.substr(number.size());
    int whole = 0;
    if (!common::read_decimal(number, whole) || (unit != "ms" && unit != "s" && !unit.empty()))
        return false;
    constexpr int MOST = 1'000'000; // far beyond what the desk takes
    settings.confirmation_limit =
        std::chrono::milliseconds(std::min(whole, MOST) * (unit == "ms" ? 1 : 1000));
    return true;
}

constexpr std::array<setting, 7> SETTINGS = {{
    {"address", [](const auto& settings) { return settings.address; },
     [](auto& settings, const auto& text) {
         settings.address = text == "none" ? "" : text;
         return true;
     },
     "four numbers with dots, or none"},
    {"port", [](const auto& settings) { return std::to_string(settings.port); },
     [](auto& settings, const auto& text) { return common::read_decimal(text, settings.port); },
     "1 to 65535"},
    {"inputs", [](const auto& settings) { return count_text(settings.inputs); },
     [](auto& settings, const auto& text) { return common::read_decimal(text, settings.inputs); },
     "how many sources are used, up to 256; 0: as many as the router has"},
    {"outputs", [](const auto& settings) { return count_text(settings.outputs); },
     [](auto& settings, const auto& text) { return common::read_decimal(text, settings.outputs); },
     "how many destinations are used, likewise"},
    {"name", [](const auto& settings) { return settings.name; },
     [](auto& settings, const auto& text) {
         settings.name = text;
         return true;
     },
     "text"},
    {"first-number", [](const auto& settings) { return std::to_string(settings.first_number); },
     [](auto& settings, const auto& text) {
         return common::read_decimal(text, settings.first_number);
     },
     "0 or 1"},
    {"confirmation-limit",
     [](const auto& settings) { return duration(settings.confirmation_limit); }, read_limit,
     "0.1 to 60 s, such as 3s or 500ms"},
}};

// These are set for positions.
constexpr std::string_view LABELS[] = {"alias", "group"};

nlohmann::json settings_json(const desk::router_settings& settings)
{
    return {{"router", settings.id},
            {"name", settings.name},
            {"address", settings.address},
            {"port", settings.port},
            {"inputs", settings.inputs},
            {"outputs", settings.outputs},
            {"firstNumber", settings.first_number},
            {"confirmationLimitMs", settings.confirmation_limit.count()}};
}

answer show_settings(const console_state& console)
{
    const desk::router_settings& settings =
        desk::find_router(console.desk, console.router)->settings;
    std::string text;
    for (const setting& each : SETTINGS) {
        std::string name(each.name);
        name.resize(20, ' ');
        const std::string value = each.show(settings);
        text += name + (value.empty() ? "none" : value) + "\n";
    }
    return {.text = text, .json = settings_json(settings)};
}

// By its id or its name: what is found by this name would not be the router in use alone.
bool is_another(const console_state& console, const std::string& name)
{
    return std::any_of(console.desk.house.routers.begin(), console.desk.house.routers.end(),
                       [&](const auto& each) {
                           return each.first != console.router &&
                                  (common::same_name(each.first, name) ||
                                   common::same_name(each.second.settings.name, name));
                       });
}

answer change_setting(console_state& console, const desk::moment& now, const setting& setting,
                      const std::string& value)
{
    desk::router_settings settings = desk::find_router(console.desk, console.router)->settings;
    if (!setting.read(settings, value))
        return refusal("\"" + value + "\" is no " + std::string(setting.name) + ": " +
                           std::string(setting.values) + ".",
                       verdict::wrong_use);
    if (setting.name == "name" && is_another(console, settings.name))
        return refusal("Not set: another router is called " + settings.name + ".",
                       verdict::refused);
    const desk::objection found = desk::set_router(console.desk, now, console.person, settings);
    if (found.why == desk::reason::bad_value)
        return refusal("Not set: " + found.detail + ".", verdict::wrong_use);
    if (found.why != desk::reason::none)
        return refusal("Not set: " + found.detail + ".", verdict::refused);
    if (setting.name == "address" && console.running.left_off.erase(console.router) > 0)
        console.running.set_ups.reset(); // also when it is the address of before
    const desk::router_settings& changed =
        desk::find_router(console.desk, console.router)->settings;
    const std::string shown = setting.show(changed);
    return {.text = std::string(setting.name) + " of " + changed.name + ": " +
                    (shown.empty() ? "none" : shown) + ".\n",
            .json = settings_json(changed)};
}

std::optional<desk::side> read_side(const std::string& text)
{
    for (const desk::side side : {desk::side::sources, desk::side::destinations})
        for (const std::string& name :
             {std::string(kind_of(side)), kind_of(side) + std::string("s")})
            if (common::same_name(name, text)) return side;
    return std::nullopt;
}

// One by number or name, or those of a range of numbers.
std::optional<std::vector<int>> read_positions(const console_state& console, desk::side side,
                                               const common::word& word, std::string& complaint)
{
    if (!word.quoted && read_range(word.text)) {
        const int count = all_positions(console, console.router, side);
        auto found = find_positions(console, console.router, side, count, {&word, 1}, complaint);
        if (!found || !found->empty()) return found;
        complaint = "There is no " + std::string(kind_of(side)) + " in " + word.text + ".";
        return std::nullopt;
    }
    const auto found = side == desk::side::sources ? find_source(console, word, complaint)
                                                   : find_destination(console, word, complaint);
    if (!found) return std::nullopt;
    return std::vector{*found};
}

std::string label_text(const console_state& console, desk::side side, int index)
{
    const position known = position_at(console, console.router, side, index);
    return (side == desk::side::sources ? "Source " : "Destination ") + known.number +
           (known.own.empty() ? "" : " " + known.own) + ": alias " +
           (known.alias.empty() ? "none" : known.alias) + ", group " +
           (known.group.empty() ? "none" : known.group) + ".\n";
}

// set alias|group source|destination POSITION|RANGE TEXT
answer set_labels(console_state& console, const desk::moment& now, const call& call, bool alias)
{
    const auto side = call.words.size() == 4 ? read_side(call.words[1].text) : std::nullopt;
    if (!side)
        return refusal("Usage: set " + call.words[0].text + " source|destination POSITION TEXT",
                       verdict::wrong_use);
    std::string complaint;
    const auto positions = read_positions(console, *side, call.words[2], complaint);
    if (!positions) return refuse_lookup(console, complaint);
    if (alias && positions->size() > 1)
        return refusal("An alias is for one position.", verdict::wrong_use);
    const std::string& wanted = call.words[3].text;
    answer answer;
    answer.json = {{"router", console.router}, {"rows", nlohmann::json::array()}};
    for (const int index : *positions) {
        desk::label label =
            desk::label_of(*desk::find_router(console.desk, console.router), *side, index);
        (alias ? label.alias : label.group) = wanted;
        const desk::objection found =
            desk::set_label(console.desk, now, console.person, console.router, *side, index, label);
        if (found.why != desk::reason::none)
            return refusal("Not set: " + found.detail + ".", verdict::refused);
        answer.text += label_text(console, *side, index);
        const position known = position_at(console, console.router, *side, index);
        answer.json["rows"].push_back({{"side", kind_of(*side)},
                                       {"index", index},
                                       {"alias", known.alias},
                                       {"group", known.group}});
    }
    return answer;
}

answer run_set(console_state& console, const desk::moment& now, const call& call)
{
    if (call.words.empty()) return show_settings(console);
    const std::string& name = call.words[0].text;
    if (std::find(std::begin(LABELS), std::end(LABELS), name) != std::end(LABELS))
        return set_labels(console, now, call, name == "alias");
    const auto* const found = std::find_if(SETTINGS.begin(), SETTINGS.end(),
                                           [&](const setting& each) { return each.name == name; });
    if (found == SETTINGS.end()) {
        std::string names;
        for (const std::string& each : setting_names())
            names += (names.empty() ? "" : ", ") + each;
        return refusal("There is no setting \"" + name + "\"; there is " + names + ".",
                       verdict::wrong_use);
    }
    if (call.words.size() != 2)
        return refusal("Usage: set " + name + " VALUE (" + std::string(found->values) + ")",
                       verdict::wrong_use);
    return change_setting(console, now, *found, call.words[1].text);
}

answer run_save(console_state& console, const desk::moment& now, const call& call)
{
    const std::string& path = call.words[0].text;
    std::string complaint;
    const saved_routes saved = routes_to_save(console, now);
    if (saved.count == 0)
        return refusal("Not saved: no route of " +
                           desk::find_router(console.desk, console.router)->settings.name +
                           " is known.",
                       verdict::refused);
    if (!write_route_file(path, saved.text, complaint)) return refusal(complaint, verdict::refused);
    const std::string old = saved.old == 0
                                ? ""
                                : route_count(saved.old) + " may have changed since; the "
                                                           "file says as of when.\n";
    return {.text = "Saved " + route_count(saved.count) + " in " + path + ".\n" + old +
                    link_line(console, now, console.router),
            .json = {{"router", console.router},
                     {"file", path},
                     {"routes", saved.count},
                     {"old", saved.old},
                     {"link", link_json(console, console.router)}}};
}

std::string staged_text(const console_state& console, const loaded_routes& loaded)
{
    std::size_t all = 0;
    std::string where;
    for (const auto& [router, destinations] : loaded.staged) {
        all += destinations.size();
        where += (where.empty() ? "" : ", ") + std::to_string(destinations.size()) + " on " +
                 desk::find_router(console.desk, router)->settings.name;
    }
    if (all == 0) return "Nothing was staged.\n";
    const std::string staged = "Staged " + route_count(all);
    if (loaded.staged.size() == 1 && loaded.staged.contains(console.router))
        return staged + "; nothing has been sent. \"staged\" shows them, \"take\" takes them.\n";
    return staged + ": " + where +
           "; nothing has been sent. \"use\" chooses the router whose routes \"staged\" shows and "
           "\"take\" takes.\n";
}

answer run_load(console_state& console, const desk::moment& now, const call& call)
{
    const std::string& path = call.words[0].text;
    std::string text;
    std::string complaint;
    if (!read_route_file(path, text, complaint)) return refusal(complaint, verdict::refused);
    const loaded_routes loaded = stage_lines(console, now, text);
    answer answer;
    for (const std::string& each : loaded.complaints)
        answer.text += each + "\n";
    answer.text += staged_text(console, loaded);
    answer.json = {
        {"file", path}, {"staged", nlohmann::json::object()}, {"complaints", loaded.complaints}};
    for (const auto& [router, destinations] : loaded.staged)
        answer.json["staged"][router] = destinations.size();
    if (!loaded.complaints.empty()) answer.verdict = verdict::refused;
    return answer;
}
} // namespace

std::vector<std::string> setting_names()
{
    std::vector<std::string> names;
    names.reserve(std::size(SETTINGS) + std::size(LABELS));
    for (const setting& each : SETTINGS)
        names.emplace_back(each.name);
    names.insert(names.end(), std::begin(LABELS), std::end(LABELS));
    return names;
}

const std::vector<command>& setting_commands()
{
    static const std::vector<command> COMMANDS = {
        {"use",
         {argument::router},
         1,
         false,
         false,
         "ROUTER",
         "let the commands concern this router",
         "The router is given by its id or its name. \"routers\" lists them.\n",
         run_use},
        {"set",
         {argument::setting, argument::text, argument::text, argument::text},
         0,
         false,
         false,
         "[NAME VALUE]",
         "show or change the router's settings",
         "Alone it shows the settings of the router in use: address, port, inputs,\n"
         "outputs, name, first-number, confirmation-limit. A new address, port or count\n"
         "makes the link anew; at a new address or port it may be another router, so takes\n"
         "under way end as unknown, and those before cannot be undone. Sources and\n"
         "destinations are given aliases and groups, an empty text removes them:\n"
         "  set alias source 3 \"Studio 1\"\n"
         "  set group destination 12-40 Live\n",
         run_set},
        {"save",
         {argument::file},
         1,
         false,
         false,
         "FILE",
         "write the routes into a file",
         "Writes what the destinations of the router in use show as lines that \"load\"\n"
         "reads. A file of that name is replaced.\n",
         run_save},
        {"load",
         {argument::file},
         1,
         false,
         false,
         "FILE",
         "stage the routes of a file",
         "Stages the routes and sends nothing. Names stand in the file in full. Lines that\n"
         "are wrong are told and passed over; behind a \"use\" or \"first-number\" that is\n"
         "wrong nothing more is read.\n",
         run_load},
    };
    return COMMANDS;
}

} // namespace console
