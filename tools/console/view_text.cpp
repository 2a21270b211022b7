#include "console/view_text.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "tools/common/text_table.h"

namespace console {

namespace {
std::string name_at(const std::vector<std::string>& names, int position)
{
    const auto index = static_cast<std::size_t>(position);
    return index < names.size() ? names[index] : "";
}

std::string identity_at(const router_view& view, const std::string& name)
{
    const auto entry = view.identity.find(name);
    return entry == view.identity.end() || entry->second.empty() ? "?" : entry->second;
}
} // namespace

std::string info_text(const router_view& view)
{
    std::string text;
    const auto add = [&text](std::string title, const std::string& value) {
        title.resize(10, ' ');
        text += title + value + '\n';
    };
    add("Router", link_text(view));
    add("Model", identity_at(view, "model"));
    add("Firmware", identity_at(view, "firmware version"));
    add("Product", identity_at(view, "product"));
    add("Company", identity_at(view, "company"));
    add("Inputs", std::to_string(view.inputs));
    add("Outputs", std::to_string(view.outputs));
    return text;
}

namespace {
std::string names_text(const std::vector<std::string>& names, int count, const std::string& title)
{
    if (count == 0) return "No " + title + "s are known yet.\n";
    std::vector<std::vector<std::string>> rows;
    rows.reserve(static_cast<std::size_t>(count));
    for (int position = 0; position < count; ++position)
        rows.push_back({std::to_string(position), name_at(names, position)});
    return common::terminal_text({"", {{"#", true}, {title}}, rows});
}
} // namespace

std::string inputs_text(const router_view& view)
{
    return names_text(view.input_names, view.inputs, "input");
}

std::string outputs_text(const router_view& view)
{
    return names_text(view.output_names, view.outputs, "output");
}

namespace {
std::string request_text(const router_view& view, const route_view& route)
{
    switch (route.request) {
    case request_state::none:
        return "";
    case request_state::pending:
        return "pending: " + input_label(view, route.asked);
    case request_state::unconfirmed:
        return "unconfirmed: " + input_label(view, route.asked);
    }
    return "";
}

// The last one staged for the output is the one that counts.
std::string staged_text(const router_view& view, int output)
{
    const auto last = std::find_if(view.staged.rbegin(), view.staged.rend(),
                                   [=](const auto& each) { return each.first == output; });
    return last == view.staged.rend() ? "" : "staged: " + input_label(view, last->second);
}
} // namespace

std::string routes_text(const router_view& view)
{
    if (view.outputs == 0) return "No outputs are known yet.\n";
    std::vector<std::vector<std::string>> rows;
    for (int output = 0; output < view.outputs; ++output) {
        const route_view& route = view.routes[static_cast<std::size_t>(output)];
        std::string state = request_text(view, route);
        const std::string staged = staged_text(view, output);
        if (!state.empty() && !staged.empty()) state += ", ";
        const bool named = route.shown >= 0;
        rows.push_back(
            {std::to_string(output), name_at(view.output_names, output),
             named ? std::to_string(route.shown) : "",
             named ? name_at(view.input_names, route.shown) : input_label(view, route.shown),
             state + staged});
    }
    return common::terminal_text(
        {"", {{"#", true}, {"output"}, {"#", true}, {"input"}, {"state"}}, rows});
}

} // namespace console
