#include "console/router_view.h"

#include <algorithm>
#include <optional>

#include "tools/common/numbers.h"

namespace console {

namespace {
// Far more than any router has; keeps a nonsensical report from filling the memory.
constexpr int MOST_POSITIONS = 65536;

std::string state_text(link_state state)
{
    switch (state) {
    case link_state::down:
        return "not connected";
    case link_state::connecting:
        return "being connected";
    case link_state::discovering:
        return "connected and asked for its names";
    case link_state::ready:
        return "ready";
    }
    return "";
}
} // namespace

std::string link_text(const router_view& view)
{
    const std::string text = state_text(view.link);
    return view.link_problem.empty() ? text : text + " (" + view.link_problem + ")";
}

namespace {
std::string label(const std::vector<std::string>& names, int position)
{
    const auto index = static_cast<std::size_t>(position);
    const bool named = index < names.size() && !names[index].empty();
    return std::to_string(position) + (named ? " " + names[index] : "");
}
} // namespace

std::string input_label(const router_view& view, int input)
{
    if (input == INPUT_UNKNOWN) return "?";
    return input < 0 ? "no input" : label(view.input_names, input);
}

std::string output_label(const router_view& view, int output)
{
    return label(view.output_names, output);
}

namespace {
std::string printable(std::string text)
{
    for (char& byte : text)
        if (static_cast<unsigned char>(byte) < ' ' || byte == '\x7f') byte = '?';
    return text;
}

std::optional<int> to_position(std::string_view digits)
{
    int value = 0;
    if (!common::read_decimal(digits, value) || value < 0 || value >= MOST_POSITIONS)
        return std::nullopt;
    return value;
}

// The position in a name such as "o12.input.all", between the letter and the suffix.
std::optional<int> position_of(std::string_view name, char letter, std::string_view suffix)
{
    if (!name.starts_with(letter) || !name.ends_with(suffix)) return std::nullopt;
    return to_position(name.substr(1, name.size() - 1 - suffix.size()));
}

// Empty when the record has no names.
std::vector<std::string> read_names(const ParentRecord& record, char letter)
{
    std::vector<std::string> names;
    for (const auto& [name, value] : record.fields) {
        const std::optional<int> position = position_of(name, letter, ".name");
        if (!position) continue;
        const auto index = static_cast<std::size_t>(*position);
        if (names.size() <= index) names.resize(index + 1);
        names[index] = printable(value);
    }
    return names;
}

void apply_info(router_view& view, const ParentRecord& record)
{
    view.identity.clear();
    for (const auto& [name, value] : record.fields)
        view.identity[name] = printable(value);
    view.inputs = to_position(view.identity["inputs"]).value_or(0);
    view.outputs = to_position(view.identity["outputs"]).value_or(0);
    view.routes.resize(static_cast<std::size_t>(view.outputs));
}

void apply_route(router_view& view, int output, int input, notices& to_show)
{
    const auto index = static_cast<std::size_t>(output);
    if (view.routes.size() <= index) view.routes.resize(index + 1);
    route_view& route = view.routes[index];
    const int before = route.shown;
    route.shown = input;
    const std::string now_shows =
        output_label(view, output) + " now shows " + input_label(view, input);
    if (route.request != request_state::none && route.asked == input) {
        route.request = request_state::none;
        to_show.push_back(now_shows + ": confirmed");
    } else if (before != INPUT_UNKNOWN && before != input) {
        if (route.request == request_state::unconfirmed) route.request = request_state::none;
        to_show.push_back(now_shows);
    }
}

void apply_routes(router_view& view, const ParentRecord& record, notices& to_show)
{
    for (const auto& [name, value] : record.fields) {
        const std::optional<int> output = position_of(name, 'o', ".input.all");
        if (!output) continue;
        view.routes_reported = true;
        apply_route(view, *output, to_position(value).value_or(INPUT_NONE), to_show);
    }
}

void apply_output_names(router_view& view, const ParentRecord& record)
{
    std::vector<std::string> names = read_names(record, 'o');
    if (names.empty() && !record.fields.empty()) return;
    view.outputs_named = true;
    if (!names.empty()) view.output_names = std::move(names);
}
} // namespace

notices apply_record(router_view& view, const ParentRecord& record)
{
    notices to_show;
    if (record.type == "reply") {
        if (!record.error.empty())
            to_show.push_back("The backend replies: " + printable(record.error));
    } else if (record.command == "info") {
        apply_info(view, record);
    } else if (record.command == "inputs") {
        view.inputs_named = true;
        view.input_names = read_names(record, 'i');
    } else if (record.command == "outputs") {
        apply_output_names(view, record);
        apply_routes(view, record, to_show);
    }
    return to_show;
}

namespace {
// What the beginning of a diagnostics line tells of the link.
struct link_rule {
    std::string_view beginning;
    std::optional<link_state> state;         // unchanged when empty
    std::optional<std::string_view> problem; // unchanged when empty; "%" is the rest of the line
};

constexpr link_rule LINK_RULES[] = {
    {"<NOTE>Trying to connect to router...", link_state::connecting, std::nullopt},
    {"<NOTE>Connected to router, right away", link_state::discovering, ""},
    {"<NOTE>Connection sucessful.", link_state::discovering, ""},
    {"<DBG>Router finished returning levels, sources, destinations", link_state::ready, ""},
    {"<ERR>Timeout during query", link_state::ready, "it did not answer all that was asked"},
    {"<ERR>Timeout receiving message", std::nullopt, "the router does not answer"},
    {"<ERR>Connection failed, ", link_state::down, "%"},
    {"<ERR>Failed to connect to router, ", link_state::down, "%"},
    {"<ERR>Cannot connect, ", link_state::down, "%"},
    {"<NOTE>Connection problem, ", link_state::down, "%"},
    {"<NOTE>Connection suddenly dropped", link_state::down, "the router dropped the connection"},
    {"<WARN>Connection timeout", link_state::down, "the router has fallen silent"},
    {"<NOTE>Connection to router closed", link_state::down, std::nullopt},
};

// A router that stays away is shown once, not at each new attempt.
void announce_link(router_view& view, notices& to_show)
{
    if (view.link != link_state::down && view.link != link_state::ready) return;
    const std::string text = "The router is " + link_text(view);
    if (text == view.link_announced) return;
    view.link_announced = text;
    to_show.push_back(text);
}
} // namespace

bool apply_diagnostics(router_view& view, const std::string& line, notices& to_show)
{
    const auto* const rule =
        std::find_if(std::begin(LINK_RULES), std::end(LINK_RULES),
                     [&](const link_rule& each) { return line.starts_with(each.beginning); });
    if (rule == std::end(LINK_RULES)) return false;
    if (rule->problem == "%")
        view.link_problem = printable(line.substr(rule->beginning.size()));
    else if (rule->problem)
        view.link_problem = *rule->problem;
    if (rule->state) {
        view.link = *rule->state;
        announce_link(view, to_show);
    }
    return true;
}

void note_staged(router_view& view, int output, int input)
{
    view.staged.emplace_back(output, input);
}

void note_flushed(router_view& view, us_time_t now)
{
    for (const auto& [output, input] : view.staged) {
        const auto index = static_cast<std::size_t>(output);
        if (view.routes.size() <= index) view.routes.resize(index + 1);
        route_view& route = view.routes[index];
        route.asked = input;
        route.request = request_state::pending;
        route.asked_at = now;
    }
    view.staged.clear();
}

void note_discarded(router_view& view)
{
    view.staged.clear();
}

notices expire_requests(router_view& view, us_time_t now)
{
    notices to_show;
    for (std::size_t output = 0; output < view.routes.size(); ++output) {
        route_view& route = view.routes[output];
        if (route.request != request_state::pending) continue;
        if (now - route.asked_at < CONFIRMATION_LIMIT_US) continue;
        route.request = request_state::unconfirmed;
        to_show.push_back(output_label(view, static_cast<int>(output)) + ": " +
                          input_label(view, route.asked) + " was not confirmed within 3 s");
    }
    return to_show;
}

us_time_t time_to_expiry(const router_view& view, us_time_t now)
{
    us_time_t nearest = NO_EXPIRY;
    for (const route_view& route : view.routes) {
        if (route.request != request_state::pending) continue;
        const us_time_t age = now - route.asked_at;
        nearest = std::min(nearest, age < CONFIRMATION_LIMIT_US ? CONFIRMATION_LIMIT_US - age : 0);
    }
    return nearest;
}

bool any_pending(const router_view& view)
{
    return std::any_of(view.routes.begin(), view.routes.end(), [](const route_view& route) {
        return route.request == request_state::pending;
    });
}

bool fully_reported(const router_view& view)
{
    return view.link == link_state::ready && view.inputs_named && view.outputs_named &&
           (view.routes_reported || view.outputs == 0);
}

} // namespace console
